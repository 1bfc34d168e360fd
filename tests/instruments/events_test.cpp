// Events: condition codes and the operand types they write, keys, and the Shift operations
// that keep document order and collection order equal.
#include "corvale/instruments/events.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "corvale/binding/node_access.h"
#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/xml/xml.h"
#include "tests/support/test_support.h"

namespace corvale {
namespace {

using test::ChildText;
using test::ChildTexts;
using test::ErrorOf;

std::shared_ptr<clsEvents> Bound(const std::string& body) {
  auto events = std::make_shared<clsEvents>();
  events->XMLNode(ParseNode("<INSTRUMENT><EVENTS>" + body + "</EVENTS></INSTRUMENT>").firstChild());
  return events;
}

// The keys in collection order, a blank, then the keys in document order.
std::string Orders(const clsEvents& events) {
  std::string keys;
  for (int i = 1; i <= events.Count(); ++i) keys += events.Item(i)->Key();
  keys += " ";
  for (const xml::Node& child : events.XMLNode().selectNodes("EVENT"))
    keys += ChildText(child, "KEY");
  return keys;
}

TEST(Event, ConditionCodeWritesTheOperandTypesItTakes) {
  auto event = std::make_shared<clsEvent>();
  xml::Node element = event->XMLNode();
  EXPECT_EQ(event->ID(), 1) << "a new event is always true";
  EXPECT_EQ(ChildText(element, "ID"), "1");
  EXPECT_EQ(ChildText(element, "INDEX"), "(absent)");
  EXPECT_EQ(event->Index(), 0);
  EXPECT_EQ(ChildText(element, "INDEX"), "0");

  auto types = [&] { return ChildTexts(element, {"CHANATYPE", "CHANBTYPE", "CHANCTYPE"}); };
  event->ID(21);
  EXPECT_EQ(types(), "2|1|1");
  event->ID(13);
  EXPECT_EQ(event->ChanAType(), operand::kEvent);
  EXPECT_EQ(types(), "3|3|(absent)");
  event->ID(25);
  EXPECT_EQ(event->ChanCType(), operand::kConstant) << "codes without a text still count";
  event->ID(40);
  EXPECT_EQ(event->ID(), 40);
  EXPECT_EQ(event->ChanAType(), operand::kChannel) << "an unknown code keeps the types";
  event->ID(0);
  EXPECT_EQ(ChildText(element, "ID"), "0") << "written even when 0";
  EXPECT_EQ(ChildText(element, "CHANATYPE"), "(absent)");

  event->ChanC("");  // operands are always written, even empty
  EXPECT_EQ(ChildText(element, "CHANC"), "");
  event->TrueCode(".if pass==SCAN_PASS\r\n\tSET {OUT_0}\r\n.endif");
  EXPECT_EQ(ChildText(element, "TRUECODE"), ".if pass==SCAN_PASS\\n\\tSET {OUT_0}\\n.endif");
  event->Enabled(true);
  EXPECT_EQ(ChildText(element, "ENABLED"), "-1");
  event->Enabled(false);
  EXPECT_EQ(ChildText(element, "ENABLED"), "(absent)");
}

TEST(Events, KeysTakeTheFirstFreeTwoDigitNumber) {
  auto events = std::make_shared<clsEvents>();
  events->Parent("RLY01");
  auto first = events->Add(std::make_shared<clsEvent>());
  EXPECT_EQ(first->Key(), "EVENT01");
  EXPECT_EQ(first->Parent(), "RLY01");
  EXPECT_EQ(first->XMLNode().parentNode(), events->XMLNode());
  EXPECT_EQ(events->Add(std::make_shared<clsEvent>())->Key(), "EVENT02");

  auto gap = Bound("<EVENT><KEY>EVENT01</KEY></EVENT><EVENT/><EVENT><KEY>EVENT03</KEY></EVENT>");
  EXPECT_EQ(ChildText(gap->XMLNode().selectNodes("EVENT")[1], "KEY"), "EVENT02");
  std::string many;
  for (int n = 1; n <= 99; ++n) many += "<EVENT><KEY>EVENT" + Format00(n) + "</KEY></EVENT>";
  EXPECT_EQ(Bound(many)->Add(std::make_shared<clsEvent>())->Key(), "EVENT100");

  auto duplicate = std::make_shared<clsEvent>();
  duplicate->Key("event01");
  EXPECT_EQ(ErrorOf([&] { gap->Add(duplicate); }), err::kDuplicateKey);
  EXPECT_EQ(gap->XMLNode().selectNodes("EVENT").size(), 3u);
  gap->Remove("EVENT02");
  EXPECT_EQ(Orders(*gap), "EVENT01EVENT03 EVENT01EVENT03");
}

TEST(Events, ShiftsMoveEntryAndElementTogether) {
  auto events =
      Bound("<EVENT><KEY>E1</KEY></EVENT><EVENT><KEY>E2</KEY></EVENT><EVENT><KEY>E3</KEY></EVENT>");
  auto e1 = events->Item(1), e2 = events->Item(2), e3 = events->Item(3);
  events->ShiftUp(e1);
  events->ShiftDown(e3);
  EXPECT_EQ(Orders(*events), "E1E2E3 E1E2E3");
  events->ShiftDown(e1);
  EXPECT_EQ(Orders(*events), "E2E1E3 E2E1E3");
  events->ShiftUp(e3);
  EXPECT_EQ(Orders(*events), "E2E3E1 E2E3E1");
  events->ShiftTo(e1, 1);
  EXPECT_EQ(Orders(*events), "E1E2E3 E1E2E3");
  events->ShiftTo(e1, "E3");
  EXPECT_EQ(Orders(*events), "E2E3E1 E2E3E1");
  events->ShiftTo(e2, 2);
  EXPECT_EQ(Orders(*events), "E3E2E1 E3E2E1");

  // Bad events and targets are refused and nothing moves.
  auto stranger = std::make_shared<clsEvent>();
  stranger->Key("E9");
  EXPECT_EQ(ErrorOf([&] { events->ShiftUp(nullptr); }), err::kObjectNotSet);
  EXPECT_EQ(ErrorOf([&] { events->ShiftDown(stranger); }), err::kSubscriptOutOfRange);
  EXPECT_EQ(ErrorOf([&] { events->ShiftTo(e1, 0); }), err::kSubscriptOutOfRange);
  EXPECT_EQ(ErrorOf([&] { events->ShiftTo(e1, 4); }), err::kSubscriptOutOfRange);
  EXPECT_EQ(ErrorOf([&] { events->ShiftTo(e1, "e2"); }), err::kSubscriptOutOfRange)
      << "places are found by exact key";
  EXPECT_EQ(ErrorOf([&] {
              events->Invoke("ShiftTo", {Variant(e1), Variant(true)});
            }),
            err::kTypeMismatch);
  EXPECT_EQ(Orders(*events), "E3E2E1 E3E2E1");

  events->Parent("P");
  for (const xml::Node& child : events->XMLNode().selectNodes("EVENT"))
    EXPECT_EQ(ChildText(child, "PARENT"), "P");
  events->Clear();
  EXPECT_TRUE(events->XMLNode().selectNodes("EVENT").empty());
}

}  // namespace
}  // namespace corvale

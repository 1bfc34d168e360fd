// Events: condition codes and the operand types they write, keys, program text, and the
// Shift operations that keep document order and collection order equal.
#include "corvale/instruments/events.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/core/xml.h"
#include "tests/support/test_support.h"

namespace corvale {
namespace {

using test::ErrorOf;

std::shared_ptr<clsEvents> Bound(const std::string& body) {
  xml::Document document = xml::Document::create();
  EXPECT_TRUE(document.loadXML("<INSTRUMENT><EVENTS>" + body + "</EVENTS></INSTRUMENT>"));
  auto events = std::make_shared<clsEvents>();
  events->XMLNode(document.documentElement().selectSingleNode("EVENTS"));
  return events;
}

std::shared_ptr<clsEvents> Three() {
  return Bound(
      "<EVENT><KEY>E1</KEY></EVENT><EVENT><KEY>E2</KEY></EVENT><EVENT><KEY>E3</KEY></EVENT>");
}

std::string CollectionOrder(const clsEvents& events) {
  std::string keys;
  for (int i = 1; i <= events.Count(); ++i) keys += events.Item(i)->Key();
  return keys;
}

std::string DocumentOrder(const clsEvents& events) {
  std::string keys;
  for (const xml::Node& child : events.XMLNode().selectNodes("EVENT"))
    keys += child.selectSingleNode("KEY").text();
  return keys;
}

std::string Child(const clsEvent& event, const char* name) {
  xml::Node child = event.XMLNode().selectSingleNode(name);
  return child ? child.text() : "(absent)";
}

TEST(Event, ConditionCodeWritesTheOperandTypesItTakes) {
  auto event = std::make_shared<clsEvent>();
  EXPECT_EQ(event->ID(), 1) << "a new event is always true";
  EXPECT_EQ(Child(*event, "ID"), "1");
  EXPECT_EQ(Child(*event, "INDEX"), "(absent)");
  EXPECT_EQ(event->Index(), 0);
  EXPECT_EQ(Child(*event, "INDEX"), "0");

  event->ID(21);
  EXPECT_EQ(Child(*event, "CHANATYPE"), "2");
  EXPECT_EQ(Child(*event, "CHANBTYPE"), "1");
  EXPECT_EQ(Child(*event, "CHANCTYPE"), "1");
  event->ID(13);
  EXPECT_EQ(event->ChanAType(), operand::kEvent);
  EXPECT_EQ(event->ChanBType(), operand::kEvent);
  EXPECT_EQ(Child(*event, "CHANCTYPE"), "(absent)");
  event->ID(25);
  EXPECT_EQ(event->ChanCType(), operand::kConstant) << "codes without a text still count";
  event->ID(40);
  EXPECT_EQ(event->ID(), 40);
  EXPECT_EQ(event->ChanAType(), operand::kChannel) << "an unknown code keeps the types";
  event->ID(0);
  EXPECT_EQ(Child(*event, "ID"), "0") << "written even when 0";
  EXPECT_EQ(Child(*event, "CHANATYPE"), "(absent)");

  // Operands are always written, even empty.
  event->ChanC("");
  EXPECT_EQ(Child(*event, "CHANC"), "");

  EXPECT_EQ(EventConditions().size(), 24u);
  EXPECT_EQ(ConditionText(2), "Channel A > B");
  EXPECT_EQ(ConditionText(7), "ChanA <> B");
  EXPECT_EQ(ConditionText(11), "ChanA != ChanB");
  EXPECT_EQ(ConditionText(12), "Delta Channel A > B");
  EXPECT_EQ(ConditionText(15), "DELTA Event A");
  EXPECT_EQ(ConditionText(20), "Event A TRUE for B Scans");
  EXPECT_EQ(ConditionText(24), "");
}

TEST(Event, ProgramTextAndFlagsStoreAsTheDocumentsExpect) {
  auto event = std::make_shared<clsEvent>();
  event->TrueCode(".if pass==SCAN_PASS\r\n\tSET {OUT_0}\r\n.endif");
  EXPECT_EQ(Child(*event, "TRUECODE"), ".if pass==SCAN_PASS\\n\\tSET {OUT_0}\\n.endif");
  EXPECT_EQ(event->TrueCode(), ".if pass==SCAN_PASS\r\n\tSET {OUT_0}\r\n.endif");
  event->FalseCode("  CLEAR {OUT_0}  ");
  EXPECT_EQ(event->FalseCode(), "CLEAR {OUT_0}");

  event->Enabled(true);
  event->KeyUnique(true);
  EXPECT_EQ(Child(*event, "ENABLED"), "-1");
  event->Enabled(false);
  EXPECT_EQ(Child(*event, "ENABLED"), "(absent)");
  EXPECT_TRUE(event->KeyUnique());
  EXPECT_FALSE(event->LoadToScheme());
}

TEST(Events, KeysTakeTheFirstFreeTwoDigitNumber) {
  auto events = std::make_shared<clsEvents>();
  events->Parent("RLY01");
  auto first = events->Add(std::make_shared<clsEvent>());
  EXPECT_EQ(first->Key(), "EVENT01");
  EXPECT_EQ(first->Parent(), "RLY01");
  EXPECT_EQ(first->XMLNode().parentNode(), events->XMLNode());
  EXPECT_EQ(events->Add(std::make_shared<clsEvent>())->Key(), "EVENT02");
  EXPECT_EQ(events->Add(std::make_shared<clsEvent>())->Key(), "EVENT03");

  auto gap = Bound("<EVENT><KEY>EVENT01</KEY></EVENT><EVENT/><EVENT><KEY>EVENT03</KEY></EVENT>");
  EXPECT_EQ(gap->Item(2)->Key(), "EVENT02");
  EXPECT_EQ(gap->XMLNode().selectNodes("EVENT")[1].selectSingleNode("KEY").text(), "EVENT02");

  std::string many;
  for (int n = 1; n <= 99; ++n) many += "<EVENT><KEY>EVENT" + Format00(n) + "</KEY></EVENT>";
  EXPECT_EQ(Bound(many)->Add(std::make_shared<clsEvent>())->Key(), "EVENT100");

  auto duplicate = std::make_shared<clsEvent>();
  duplicate->Key("event01");
  EXPECT_EQ(ErrorOf([&] { gap->Add(duplicate); }), err::kDuplicateKey);
  EXPECT_EQ(gap->XMLNode().selectNodes("EVENT").size(), 3u);
  gap->Remove("EVENT02");
  EXPECT_EQ(DocumentOrder(*gap), "EVENT01EVENT03");
  EXPECT_EQ(ErrorOf([&] { gap->Remove(3); }), err::kSubscriptOutOfRange);
}

TEST(Events, ShiftsMoveEntryAndElementTogether) {
  auto events = Three();
  auto e1 = events->Item(1), e2 = events->Item(2), e3 = events->Item(3);

  events->ShiftUp(e1);
  events->ShiftDown(e3);
  EXPECT_EQ(CollectionOrder(*events), "E1E2E3");

  events->ShiftDown(e1);
  EXPECT_EQ(CollectionOrder(*events), "E2E1E3");
  EXPECT_EQ(DocumentOrder(*events), "E2E1E3");
  events->ShiftUp(e3);
  EXPECT_EQ(CollectionOrder(*events), "E2E3E1");
  EXPECT_EQ(DocumentOrder(*events), "E2E3E1");

  events->ShiftTo(e1, 1);
  EXPECT_EQ(CollectionOrder(*events), "E1E2E3");
  EXPECT_EQ(DocumentOrder(*events), "E1E2E3");
  events->ShiftTo(e1, "E3");
  EXPECT_EQ(CollectionOrder(*events), "E2E3E1");
  EXPECT_EQ(DocumentOrder(*events), "E2E3E1");
  events->ShiftTo(e2, 2);
  EXPECT_EQ(DocumentOrder(*events), "E3E2E1");

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
  EXPECT_EQ(DocumentOrder(*events), "E3E2E1");
  EXPECT_EQ(CollectionOrder(*events), "E3E2E1");

  events->Parent("P");
  for (const xml::Node& child : events->XMLNode().selectNodes("EVENT"))
    EXPECT_EQ(child.selectSingleNode("PARENT").text(), "P");
  events->Clear();
  EXPECT_TRUE(events->XMLNode().selectNodes("EVENT").empty());
}

}  // namespace
}  // namespace corvale

#include "corvale/instruments/cdt_settings.h"

#include <gtest/gtest.h>

#include "corvale/binding/node_access.h"
#include "corvale/core/error.h"
#include "tests/support/test_support.h"

namespace corvale {
namespace {

using test::ChildText;
using test::ErrorOf;

TEST(CDTSettings, LoadingGivesKeylessSettingsTheFreeKeysAndTheListParent) {
  xml::Node element = ParseNode(
      "<CDTSETTINGS><PARENT>INST_7</PARENT>"
      "<CDT KEY=\"CDT_0\"><KEY>CDT_0</KEY><ADDRESS>P1</ADDRESS></CDT>"
      "<CDT><ADDRESS>P2</ADDRESS></CDT>"
      "<CDT KEY=\"CDT_2\"><KEY>CDT_2</KEY></CDT>"
      "<CDT/></CDTSETTINGS>");
  auto list = std::make_shared<clsCDTSettings>();
  list->XMLNode(element);

  ASSERT_EQ(list->Count(), 4);
  // The gap at 1 is filled first; both the element and the attribute carry the key.
  std::vector<xml::Node> cdts = element.selectNodes("CDT");
  EXPECT_EQ(ChildText(cdts[1], "KEY") + cdts[1].getAttribute("KEY"), "CDT_1CDT_1");
  EXPECT_EQ(cdts[3].getAttribute("KEY"), "CDT_3");
  for (const xml::Node& cdt : cdts) EXPECT_EQ(ChildText(cdt, "PARENT"), "INST_7");

  EXPECT_EQ(list->Item("CDT_1")->Address(), "P2");
  EXPECT_EQ(list->Item("cdt_0")->Address(), "P1");
  EXPECT_EQ(list->Item("CDT_99"), nullptr);  // an unknown key is "none", not an error
  EXPECT_EQ(ErrorOf([&] { list->Item(5); }), err::kSubscriptOutOfRange);
  EXPECT_EQ(ErrorOf([&] { list->Remove("CDT_99"); }), err::kSubscriptOutOfRange);

  list->Parent("INST_8");
  for (const xml::Node& cdt : cdts) EXPECT_EQ(ChildText(cdt, "PARENT"), "INST_8");
  EXPECT_EQ(ChildText(element, "PARENT"), "INST_8");
}

TEST(CDTSettings, AddedSettingsKeepTheirDataInTheDocument) {
  auto list = std::make_shared<clsCDTSettings>();
  list->Parent("T1");
  auto first = std::make_shared<clsCDTSetting>();
  auto named = std::make_shared<clsCDTSetting>();
  named->Key("CDT_1");
  auto second = std::make_shared<clsCDTSetting>();
  list->Add(first);
  list->Add(named);
  list->Add(second);
  EXPECT_EQ(first->Key(), "CDT_0");
  EXPECT_EQ(second->Key(), "CDT_2");
  EXPECT_EQ(second->Parent(), "T1");
  EXPECT_EQ(named->XMLNode().parentNode(), list->XMLNode());

  second->ResolvedValue(255);
  EXPECT_EQ(ChildText(second->XMLNode(), "RESOLVEDVALUE"), "255");
  second->ResolvedValue(0);  // zero is stored by absence
  EXPECT_EQ(ChildText(second->XMLNode(), "RESOLVEDVALUE"), "(absent)");

  // An empty key removes the element but keeps the attribute.
  named->Key("");
  EXPECT_EQ(ChildText(named->XMLNode(), "KEY"), "(absent)");
  EXPECT_TRUE(named->XMLNode().hasAttribute("KEY"));

  list->Remove("cdt_2");
  EXPECT_EQ(list->XMLNode().selectNodes("CDT").size(), 2u);
  list->Clear();
  EXPECT_EQ(list->Count(), 0);
  EXPECT_TRUE(list->XMLNode().selectSingleNode("CDT").isNull());
}

}  // namespace
}  // namespace corvale

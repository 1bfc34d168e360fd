// Outputs: their resource and user lists, keys, the Parent written on the container and on
// every output, the alias look-up by name and the uninstall query.
#include "corvale/instruments/outputs.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "corvale/binding/node_access.h"
#include "corvale/core/error.h"
#include "corvale/resources/logger_resource_list.h"
#include "corvale/resources/logger_resource_users.h"
#include "corvale/xml/xml.h"
#include "tests/support/test_support.h"

namespace corvale {
namespace {

using test::ChildText;
using test::ErrorOf;

std::shared_ptr<clsOutputs> Bound(const std::string& body) {
  auto outputs = std::make_shared<clsOutputs>();
  outputs->XMLNode(
      ParseNode("<INSTRUMENT><OUTPUTS>" + body + "</OUTPUTS></INSTRUMENT>").firstChild());
  return outputs;
}

TEST(Output, CarriesResourceAndUserListsInItsElement) {
  auto output = std::make_shared<clsOutput>();
  xml::Node element = output->XMLNode();
  EXPECT_EQ(output->Resources()->XMLNode(), element.selectSingleNode("RESOURCES"));
  EXPECT_EQ(output->Users()->XMLNode(), element.selectSingleNode("USERS"));
  output->TrueCode("CLOSE {OUT_0}\r\nWAIT 10");
  EXPECT_EQ(ChildText(element, "TRUECODE"), "CLOSE {OUT_0}\\nWAIT 10");

  auto outputs = Bound(
      "<OUTPUT><KEY>OUT_0</KEY><RESOURCES><REQUEST><KEY>R</KEY><RESOURCE>DOUT1</RESOURCE>"
      "</REQUEST></RESOURCES></OUTPUT>");
  auto bound = outputs->Item("out_0");
  EXPECT_EQ(bound->Resources()->Item(1)->Resource(), "DOUT1");
  EXPECT_EQ(bound->XMLNode().selectNodes("RESOURCES").size(), 1u);
  EXPECT_EQ(bound->XMLNode().selectNodes("USERS").size(), 1u) << "a missing list is added";
}

TEST(Outputs, KeysParentAndErrors) {
  auto outputs = Bound("<OUTPUT><KEY>OUT_0</KEY></OUTPUT><OUTPUT/>");
  EXPECT_EQ(outputs->Item(2)->Key(), "OUT_1");
  auto added = outputs->Add(std::make_shared<clsOutput>());
  EXPECT_EQ(added->Key(), "OUT_2");
  EXPECT_EQ(added->XMLNode().parentNode(), outputs->XMLNode());

  // Parent is written on the container and on every output.
  outputs->Parent("RLY01");
  EXPECT_EQ(ChildText(outputs->XMLNode(), "PARENT"), "RLY01");
  for (const xml::Node& child : outputs->XMLNode().selectNodes("OUTPUT"))
    EXPECT_EQ(ChildText(child, "PARENT"), "RLY01");

  auto twin = std::make_shared<clsOutput>();
  twin->Key("Out_1");
  EXPECT_EQ(ErrorOf([&] { outputs->Add(twin); }), err::kDuplicateKey);
  EXPECT_EQ(outputs->XMLNode().selectNodes("OUTPUT").size(), 3u);
  outputs->Remove(1);
  EXPECT_EQ(outputs->Item(1)->Key(), "OUT_1");
  EXPECT_EQ(outputs->XMLNode().selectNodes("OUTPUT").size(), 2u);
  outputs->Clear();
  EXPECT_TRUE(outputs->XMLNode().selectNodes("OUTPUT").empty());
}

// An output that answers Alias by name, as items of a scheme's output list may, and counts the
// uninstall questions it gets, answering as told.
struct AskedOutput : clsOutput {
  AskedOutput(std::string alias, bool agree) : alias(std::move(alias)), agree(agree) {}
  std::string alias;
  bool agree;
  int asked = 0;
  Variant Invoke(std::string_view member, const Args& args) override {
    if (member == "Alias") return Variant(alias);
    return clsOutput::Invoke(member, args);
  }
  bool QueryUninstall() override {
    ++asked;
    return agree;
  }
};

TEST(Outputs, ChannelExistsAndQueryUninstallAskEachItem) {
  auto outputs = std::make_shared<clsOutputs>();
  EXPECT_FALSE(outputs->ChannelExists(""));
  EXPECT_TRUE(outputs->QueryUninstall());  // none to ask
  outputs->Add(std::make_shared<clsOutput>());
  EXPECT_FALSE(outputs->ChannelExists("Level")) << "a plain output has no alias";
  auto yes = std::make_shared<AskedOutput>("Level", true);
  outputs->Add(yes);
  EXPECT_TRUE(outputs->ChannelExists("Level"));
  EXPECT_FALSE(outputs->ChannelExists("level"));
  EXPECT_TRUE(outputs->Invoke("ChannelExists", {Variant("Level")}).ToBool());

  // The uninstall query stops at the first refusal.
  EXPECT_TRUE(outputs->QueryUninstall());
  auto no = std::make_shared<AskedOutput>("", false),
       later = std::make_shared<AskedOutput>("", true);
  outputs->Add(no);
  outputs->Add(later);
  EXPECT_FALSE(outputs->QueryUninstall());
  EXPECT_EQ(std::to_string(yes->asked) + std::to_string(no->asked) + std::to_string(later->asked),
            "210");
}

}  // namespace
}  // namespace corvale

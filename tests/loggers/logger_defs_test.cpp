#include "corvale/loggers/logger_defs.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "corvale/binding/node_access.h"
#include "corvale/core/error.h"
#include "corvale/core/host.h"
#include "corvale/core/registry.h"
#include "corvale/loggers/logger_def.h"
#include "tests/support/test_support.h"

namespace corvale {
namespace {

using test::ChildText;
using test::ErrorOf;
using test::ReadFile;
using test::WriteFile;

constexpr const char* kFile = R"(<?xml version = "1.0" encoding="windows-1252"?>
<LOGGERS>
  <LOGGER NAME="Field logger">
    <KEY>FIELD</KEY>
    <NAME>Field logger</NAME>
    <LOGGERTYPE>1</LOGGERTYPE>
    <INPUTCHANNELS>
      <CHANNEL><KEY>AIN1</KEY><CHANNELTYPE>1</CHANNELTYPE><MAX>2.5</MAX></CHANNEL>
    </INPUTCHANNELS>
    <OUTPUTCHANNELS/>
    <RESOURCES><RESOURCE><KEY>COM1</KEY></RESOURCE></RESOURCES>
  </LOGGER>
  <LOGGER>
    <CATCODE>X1</CATCODE>
    <NAME>Compact logger</NAME>
  </LOGGER>
</LOGGERS>
)";

TEST(LoggerDefs, LoadIndexesByKeyOrCatCodeAndCopiesDetachedItems) {
  const std::string path = WriteFile("defs/loggers.xml", kFile);
  auto set = std::make_shared<clsLoggerDefs>();
  EXPECT_FALSE(set->Load(WriteFile("defs/broken.xml", "<LOGGERS><LOGGER>")));
  EXPECT_TRUE(set->Load(path));
  ASSERT_EQ(set->Count(), 2);
  xml::Node second = set->XMLNode().selectNodes("LOGGER")[1];
  EXPECT_EQ(ChildText(second, "KEY"), "X1");  // the CATCODE fallback is written back
  EXPECT_EQ(set->Item("x1")->Name(), "Compact logger");
  EXPECT_EQ(set->File(), path);
  // Source went into the LOGGERS element the load left behind: items carry "|" + key.
  EXPECT_EQ(set->Source(), "");
  EXPECT_EQ(set->Item(1)->Source(), "|FIELD");
  set->Source("site");
  EXPECT_EQ(set->Item(2)->Source(), "site|X1");
  EXPECT_EQ(ErrorOf([&] { set->Item(3); }), err::kSubscriptOutOfRange);
  EXPECT_EQ(ErrorOf([&] { set->LibraryItem("NONE"); }), err::kSubscriptOutOfRange);

  // A missing or broken file leaves the set as it was.
  EXPECT_FALSE(set->Load(path + ".missing"));
  EXPECT_EQ(set->Count(), 2);

  // Edits through Item stay in the copy; through LibraryItem they reach the file.
  set->Save();
  const std::string before = ReadFile(path);
  auto copy = set->Item("FIELD");
  copy->Name("Renamed");
  copy->InputChannels()->Item("AIN1")->Max(10);
  set->Save();
  EXPECT_EQ(ReadFile(path), before);
  auto live = set->LibraryItem("FIELD");
  live->InputChannels()->Item("AIN1")->Max(10);
  live->MemorySize(65536);
  set->Save();
  auto reread = std::make_shared<clsLoggerDefs>();
  ASSERT_TRUE(reread->Load(path));
  auto field = reread->Item("FIELD");
  EXPECT_EQ(field->MemorySize(), 65536);
  EXPECT_EQ(field->InputChannels()->Item("AIN1")->Max(), 10);
  EXPECT_EQ(ChildText(reread->LibraryItem(1)->XMLNode(), "SOURCE"), "site|FIELD");
  EXPECT_EQ(field->Resources()->Item("COM1")->Key(), "COM1");

  // A file of another root loads as an empty set.
  EXPECT_TRUE(reread->Load(WriteFile("defs/other.xml", "<SYSTEMS><LOGGER/></SYSTEMS>")));
  EXPECT_EQ(reread->Count(), 0);
}

TEST(LoggerDefs, RepeatedKeysFailAfterTheEarlierDefinitionsAreIndexed) {
  auto set = std::make_shared<clsLoggerDefs>();
  const std::string keyless =
      WriteFile("defs/keyless.xml",
                "<LOGGERS><LOGGER><NAME>A</NAME></LOGGER><LOGGER><KEY>B</KEY></LOGGER>"
                "<LOGGER><NAME>C</NAME></LOGGER><LOGGER><KEY>D</KEY></LOGGER></LOGGERS>");
  EXPECT_EQ(ErrorOf([&] { set->Load(keyless); }), err::kDuplicateKey);
  ASSERT_EQ(set->Count(), 2);
  EXPECT_EQ(set->Item("")->Name(), "A");  // the empty key is a key here
  EXPECT_EQ(ErrorOf([&] {
              set->XMLNode(
                  ParseNode("<LOGGERS><LOGGER><KEY>k</KEY></LOGGER>"
                            "<LOGGER><CATCODE>K</CATCODE></LOGGER></LOGGERS>"));
            }),
            err::kDuplicateKey);
  EXPECT_EQ(set->Count(), 1);

  // Rebinding takes the LOGGER elements out of the element left behind.
  xml::Node first = ParseNode("<LOGGERS><LOGGER><KEY>P</KEY></LOGGER></LOGGERS>");
  set->XMLNode(first);
  set->XMLNode(ParseNode("<LOGGERS><LOGGER><KEY>Q</KEY></LOGGER></LOGGERS>"));
  EXPECT_TRUE(first.selectSingleNode("LOGGER").isNull());
  EXPECT_EQ(set->Item(1)->Key(), "Q");
}

TEST(LoggerDefs, NewSetAddRemoveAndClear) {
  auto set = std::dynamic_pointer_cast<clsLoggerDefs>(CreateObject("Corvale2.clsLoggerDefs"));
  ASSERT_TRUE(set);
  EXPECT_EQ(set->XMLNode().nodeName(), "LOGGERS");
  EXPECT_TRUE(set->XMLNode().parentNode().isNull());  // not attached to the document
  const std::string empty = test::TempDir() + "/defs-empty.xml";
  set->Save(empty);
  EXPECT_EQ(ReadFile(empty).find("<LOGGERS"), std::string::npos);

  auto a = std::make_shared<clsLoggerDef>();
  a->CatCode("A1");  // without a key the catalogue code becomes the key
  set->Add(a);
  EXPECT_EQ(a->Key(), "A1");
  auto b = std::make_shared<clsLoggerDef>();
  b->Key("B1");
  set->Add(b, corvale::Index("A1"));
  EXPECT_EQ(set->Item(1)->Key(), "B1");
  EXPECT_EQ(set->XMLNode().lastChild(), b->XMLNode());  // the element is appended all the same

  // A repeated key fails after the element moved in, and the element stays.
  auto clash = std::make_shared<clsLoggerDef>();
  clash->CatCode("a1");
  EXPECT_EQ(ErrorOf([&] { set->Add(clash); }), err::kDuplicateKey);
  EXPECT_EQ(set->Count(), 2);
  EXPECT_EQ(set->XMLNode().selectNodes("LOGGER").size(), 3u);
  EXPECT_EQ(clash->XMLNode().parentNode(), set->XMLNode());

  set->Remove("B1");
  EXPECT_EQ(set->XMLNode().selectNodes("LOGGER").size(), 2u);
  EXPECT_EQ(set->Invoke("Count").ToInt32(), 1);
  set->Invoke("Clear");
  EXPECT_EQ(set->Count(), 0);
  EXPECT_EQ(set->XMLNode().selectNodes("LOGGER").size(), 1u);  // the refused one
}

TEST(LoggerDef, PropertiesDefaultsAndWriteRules) {
  auto host = std::make_shared<test::RecordingHost>();
  ScopedHostServices scope(host);
  auto logger = std::make_shared<clsLoggerDef>();
  xml::Node element = logger->XMLNode();
  EXPECT_EQ(test::ChildTexts(element, {"INPUTCHANNELS", "OUTPUTCHANNELS", "RESOURCES"}), "||");
  EXPECT_EQ(element.firstChild().nodeName(), "INPUTCHANNELS");
  EXPECT_EQ(element.lastChild().nodeName(), "RESOURCES");

  // Reading the two version properties materialises them; other defaults leave no trace.
  EXPECT_EQ(logger->MinimumBuildRevision(), "4.1.0");
  EXPECT_EQ(logger->MinimumCompiler(), 0);
  EXPECT_EQ(ChildText(element, "MINBUILDREVISION") + "|" + ChildText(element, "MINCOMPILER"),
            "4.1.0|0");
  EXPECT_EQ(logger->TimeBase(), 0.0f);
  EXPECT_EQ(logger->LoggerType(), 0);
  EXPECT_EQ(ChildText(element, "TIMEBASE") + ChildText(element, "LOGGERTYPE"), "(absent)(absent)");
  auto fresh = std::make_shared<clsLoggerDef>();
  fresh->MinimumBuildRevision("4.1.0");  // not written while absent and the default
  fresh->MinimumCompiler(0);             // always written
  EXPECT_EQ(ChildText(fresh->XMLNode(), "MINBUILDREVISION"), "(absent)");
  EXPECT_EQ(ChildText(fresh->XMLNode(), "MINCOMPILER"), "0");

  logger->LoggerType(4);
  logger->LoggerType(0);
  EXPECT_EQ(ChildText(element, "LOGGERTYPE"), "(absent)");
  logger->TimeBase(0.25f);
  EXPECT_EQ(ChildText(element, "TIMEBASE"), "0.25");
  logger->Name("Field logger");
  logger->Name("");  // the element goes, the attribute stays, empty
  EXPECT_EQ(ChildText(element, "NAME"), "(absent)");
  EXPECT_TRUE(element.hasAttribute("NAME"));
  EXPECT_EQ(element.getAttribute("NAME"), "");

  logger->IconSource("field.ico");
  ASSERT_TRUE(logger->Icon());
  EXPECT_EQ(host->iconRequests.back(),
            std::make_pair(std::string("field.ico"), std::string("HALDEN")));

  // Binding another element keeps its inventories, hands over the pool, and makes the icon.
  xml::Node other = ParseNode(
      "<LOGGER><ICONSOURCE>x.ico</ICONSOURCE><RESOURCES><RESOURCE><KEY>R</KEY></RESOURCE>"
      "</RESOURCES></LOGGER>");
  logger->XMLNode(other);
  EXPECT_EQ(logger->Resources()->Item("R")->Key(), "R");
  EXPECT_EQ(logger->InputChannels()->Pool(), logger->Resources());
  EXPECT_EQ(logger->OutputChannels()->Pool(), logger->Resources());
  EXPECT_EQ(other.lastChild().nodeName(), "OUTPUTCHANNELS");  // the missing ones are appended
  EXPECT_EQ(host->iconRequests.back().first, "x.ico");

  // Everything is reachable by name, as a scheme and a scaling loader reach it.
  auto channel = std::make_shared<clsLoggerInputChannel>();
  channel->Multiplier(0.5);
  logger->InputChannels()->Add(channel);
  const ObjectPtr inputs = logger->Invoke("InputChannels").ToObject();
  const ObjectPtr item = inputs->Invoke("Item", {"CHAN_0"}).ToObject();
  EXPECT_EQ(item->Invoke("Multiplier").ToDouble(), 0.5);
  EXPECT_EQ(item->Invoke("ResourceList").ToObject()->Invoke("Count").ToInt32(), 0);
  logger->Invoke("MinimumBuildRevision", {"4.2.0"});
  EXPECT_EQ(logger->MinimumBuildRevision(), "4.2.0");
}

}  // namespace
}  // namespace corvale

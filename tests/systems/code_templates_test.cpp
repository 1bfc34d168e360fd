#include "corvale/systems/code_templates.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "corvale/binding/node_access.h"
#include "corvale/core/error.h"
#include "corvale/core/registry.h"
#include "tests/support/test_support.h"

namespace corvale {
namespace {

using test::ChildText;
using test::ErrorOf;
using test::ReadFile;
using test::WriteFile;

// A template bound to an element named as template files name them.
CodeTemplatePtr FileTemplate(const std::string& key = "") {
  auto codeTemplate = std::make_shared<clsCodeTemplate>(CreateElement("TEMPLATE"));
  if (!key.empty()) codeTemplate->Key(key);
  return codeTemplate;
}

TEST(CodeTemplates, NewTemplateWritesItsForcedDefaultsAndKeyAttribute) {
  clsCodeTemplate fresh;
  const xml::Node element = fresh.XMLNode();
  EXPECT_EQ(element.nodeName(), "CODETEMPLATE");
  EXPECT_EQ(ChildText(element, "INSTRUMENTS"), "");  // the four lists exist, empty
  EXPECT_EQ(
      ChildText(element, "RESOURCES") + ChildText(element, "FILES") + ChildText(element, "EVENTS"),
      "");
  // The four forced properties materialise their defaults when read; the others do not.
  EXPECT_EQ(fresh.ProgramMemoryDataStart(), 512);
  EXPECT_FALSE(fresh.WriteBuffersToSRC());
  EXPECT_EQ(fresh.VirtualChannelStart(), 0);
  EXPECT_EQ(fresh.VirtualChannelEnd(), 0);
  EXPECT_EQ(fresh.Description(), "");
  EXPECT_EQ(fresh.LoggerTypes(), 0);
  EXPECT_EQ(test::ChildTexts(element, {"PROGMEMDATASTART", "WRITEBUFFERS", "VIRTUALCHANSTART",
                                       "VIRTUALCHANEND", "DESCRIPTION", "LOGGERTYPES"}),
            "512|False|0|0|(absent)|(absent)");  // a boolean default is written as a word
  fresh.VirtualChannelEnd(0);
  fresh.WriteBuffersToSRC(true);
  EXPECT_EQ(ChildText(element, "VIRTUALCHANEND"), "0");
  EXPECT_EQ(ChildText(element, "WRITEBUFFERS"), "-1");
  fresh.Key("WX");
  EXPECT_EQ(ChildText(element, "KEY"), "WX");
  EXPECT_EQ(element.getAttribute("KEY"), "WX");

  // Binding an element adds only the lists it lacks, and the lists follow the element.
  const xml::Node other = ParseNode(
      "<TEMPLATE><EVENTS><EVENT><KEY>EVENT01</KEY></EVENT></EVENTS><INSTRUMENTS><INSTRUMENT>"
      "<KEY>TMP</KEY><LOGCHANNEL>A</LOGCHANNEL></INSTRUMENT></INSTRUMENTS></TEMPLATE>");
  fresh.XMLNode(other);
  EXPECT_EQ(other.selectNodes("EVENTS").size(), 1u);
  EXPECT_EQ(other.selectNodes("FILES").size(), 1u);
  EXPECT_EQ(fresh.Events()->Count(), 1);
  EXPECT_EQ(fresh.Instruments()->Item("tmp")->LogChannel(1), "A");
  EXPECT_EQ(fresh.Files()->XMLNode().parentNode(), other);
}

TEST(CodeTemplates, KeysFromOneReuseGapsRefuseDuplicatesAndListOnlyTemplateElements) {
  auto set = std::make_shared<clsCodeTemplates>();
  auto first = FileTemplate();
  auto second = FileTemplate();
  set->Add(first);
  set->Add(second);
  EXPECT_EQ(first->Key(), "TEMPLATE_1");
  EXPECT_EQ(second->Key(), "TEMPLATE_2");
  EXPECT_EQ(set->XMLNode().selectNodes("TEMPLATE")[0].getAttribute("KEY"), "TEMPLATE_1");
  set->Remove("template_1");
  auto third = FileTemplate();
  set->Add(third);
  EXPECT_EQ(third->Key(), "TEMPLATE_1");  // the gap is reused
  EXPECT_EQ(set->Item(2)->Key(), "TEMPLATE_1");
  EXPECT_EQ(set->Item("Template_2")->XMLNode(), second->XMLNode());  // live, not a copy

  std::string description;
  EXPECT_EQ(ErrorOf([&] { set->Add(FileTemplate("template_2")); }, &description),
            err::kDuplicateTemplateKey);
  EXPECT_NE(description.find("template_2"), std::string::npos);
  EXPECT_EQ(set->Count(), 2);
  EXPECT_EQ(set->XMLNode().selectNodes("TEMPLATE").size(), 2u);
  EXPECT_EQ(set->Item(3), nullptr);
  EXPECT_EQ(set->Item("NONE"), nullptr);
  EXPECT_EQ(ErrorOf([&] { set->Remove(3); }), err::kSubscriptOutOfRange);

  // A template made from scratch is a CODETEMPLATE element: kept in the document but not
  // listed, so the next one is offered the same key.
  auto madeHere = std::make_shared<clsCodeTemplate>();
  auto madeAgain = std::make_shared<clsCodeTemplate>();
  set->Add(madeHere);
  set->Add(madeAgain);
  EXPECT_EQ(madeHere->Key(), "TEMPLATE_3");
  EXPECT_EQ(madeAgain->Key(), "TEMPLATE_3");
  EXPECT_EQ(set->Count(), 2);
  EXPECT_EQ(set->XMLNode().selectNodes("CODETEMPLATE").size(), 2u);

  // Late-bound, as a host reaches it.
  ObjectPtr late = CreateObject("Corvale2.clsCodeTemplates");
  late->Invoke("Add", {Variant(FileTemplate())});
  EXPECT_EQ(late->Invoke("Count").ToInt32(), 1);
  EXPECT_EQ(late->Invoke("Item", {Variant(1)}).ToObject()->Invoke("Key").ToString(), "TEMPLATE_1");
}

TEST(CodeTemplates, FilesSaveReloadAndToleratePastMistakes) {
  auto set = std::make_shared<clsCodeTemplates>();
  set->Source("site");
  auto weather = FileTemplate("WX");
  weather->Description("Weather £ station");
  weather->ProgramMemoryDataStart(1024);
  weather->Instruments()->Add(std::make_shared<clsSystemInstrument>());
  set->Add(weather);
  set->Add(FileTemplate());
  const std::string path = test::TempDir() + "/templates.xml";
  set->Save(path);
  const std::string saved = ReadFile(path);
  EXPECT_EQ(saved.rfind("<?xml version = \"1.0\" encoding=\"windows-1252\"?>", 0), 0u);
  EXPECT_NE(saved.find("Weather \xA3 station"), std::string::npos);  // windows-1252 bytes

  auto again = std::make_shared<clsCodeTemplates>();
  ASSERT_TRUE(again->Load(path));
  EXPECT_EQ(again->Count(), 2);
  EXPECT_EQ(again->Source(), "site");
  EXPECT_EQ(again->Item("wx")->Description(), "Weather £ station");
  EXPECT_EQ(again->Item("WX")->ProgramMemoryDataStart(), 1024);
  EXPECT_EQ(again->Item("WX")->Instruments()->Count(), 1);
  EXPECT_EQ(again->Item(2)->Key(), "TEMPLATE_1");
  again->Save();  // to the file it came from
  EXPECT_EQ(ReadFile(path), saved);

  // Users' files may repeat a key: the first holder answers until it goes.
  const std::string repeated =
      WriteFile("templates/repeated.xml",
                "<TEMPLATES><TEMPLATE><KEY>A</KEY><SRCFILE>one</SRCFILE></TEMPLATE>"
                "<TEMPLATE><KEY>a</KEY><SRCFILE>two</SRCFILE></TEMPLATE></TEMPLATES>");
  ASSERT_TRUE(again->Load(repeated));
  EXPECT_EQ(again->Count(), 2);
  EXPECT_EQ(again->Item("A")->SrcFile(), "one");
  again->Remove("A");
  EXPECT_EQ(again->Item("A")->SrcFile(), "two");
  EXPECT_EQ(ErrorOf([&] { again->Add(FileTemplate("A")); }), err::kDuplicateTemplateKey);

  // A missing file leaves an empty set with its root, and no file for Save to write over;
  // another root is refused and the set kept.
  EXPECT_FALSE(again->Load(test::TempDir() + "/none.xml"));
  EXPECT_EQ(again->Count(), 0);
  EXPECT_EQ(again->XMLNode().nodeName(), "TEMPLATES");
  EXPECT_EQ(again->XMLNode().parentNode(), again->Document());
  EXPECT_EQ(ErrorOf([&] { again->Save(); }), err::kPathFileAccess);
  ASSERT_TRUE(again->Load(path));
  EXPECT_EQ(ErrorOf([&] { again->Load(WriteFile("templates/other.xml", "<SYSTEMS/>")); }),
            err::kInvalidProcedureCall);
  EXPECT_EQ(again->Count(), 2);
}

}  // namespace
}  // namespace corvale

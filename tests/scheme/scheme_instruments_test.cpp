#include "corvale/scheme/scheme_instruments.h"

#include <gtest/gtest.h>

#include "corvale/core/registry.h"
#include "corvale/instruments/event.h"
#include "corvale/instruments/inst_channel.h"
#include "corvale/instruments/inst_channels.h"
#include "corvale/instruments/output.h"
#include "corvale/loggers/logger_input_channels.h"
#include "corvale/resources/logger_resource.h"
#include "corvale/resources/logger_resource_users.h"
#include "corvale/resources/logger_resources.h"
#include "tests/scheme/scheme_fixture.h"

namespace corvale {
namespace {

using test::ErrorLines;
using test::MakeScheme;

std::string Users(const test::TestScheme& s, const std::string& resource) {
  auto users = s.logger->Resources()->Item(resource)->Users();
  std::string text;
  for (int16_t i = 1; i <= users->Count(); ++i) text += (i > 1 ? "," : "") + users->Item(i);
  return text;
}

std::string Keys(clsSchemeInstruments& set) {
  std::string text;
  for (int16_t i = 1; i <= set.Count(); ++i) {
    auto item = set.Item(i);
    text += (i > 1 ? "," : "") + item->Key() + "@" + std::to_string(item->Index());
  }
  return text;
}

std::string ElementKeys(const xml::Node& instruments) {
  std::string text;
  for (const xml::Node& e : instruments.selectNodes("INSTRUMENT"))
    text += (text.empty() ? "" : ",") + test::ChildText(e, "KEY");
  return text;
}

TEST(SchemeAdd, PlacesInstrumentsWithKeysAliasesChannelsResourcesOutputsAndEvents) {
  auto s = MakeScheme();
  auto& set = *s->instruments;
  auto listener = std::make_shared<test::RecordingListener>();
  set.Listener(listener);

  auto first = s->Take("TMP");
  EXPECT_TRUE(set.Add(first, std::nullopt));
  EXPECT_TRUE(set.Add(s->Take("TMP"), std::nullopt));
  auto third = s->Take("TMP");
  // The logger has two analogue inputs: the third probe is placed without one.
  EXPECT_FALSE(set.Add(third, std::nullopt));
  EXPECT_EQ(ErrorLines(set),
            std::vector<std::string>{"800403ED - There are no more available channels"});
  EXPECT_EQ(Keys(set), "TMP_01@1,TMP_02@2,TMP_03@3");
  EXPECT_EQ(ElementKeys(set.XMLNode()), "TMP_01,TMP_02,TMP_03");
  EXPECT_EQ(third->Name(), "Temperature #3");
  EXPECT_EQ(third->Instance(), 3);

  // Aliases unique in the scheme; an empty alias starts from the channel key.
  auto alias = [&](int16_t member, int16_t channel) {
    return set.Item(member)->Channels()->Item(channel)->Alias();
  };
  EXPECT_EQ(alias(1, 1) + " " + alias(2, 1) + " " + alias(3, 1), "Temp Temp1 Temp2");
  EXPECT_EQ(alias(1, 2) + " " + alias(2, 2) + " " + alias(3, 2), "CHAN_1 CHAN_2 CHAN_3");
  auto loggerChannel = [&](int16_t member, int16_t channel) {
    return set.Item(member)->Channels()->Item(channel)->LoggerChannel();
  };
  EXPECT_EQ(loggerChannel(1, 1) + "," + loggerChannel(2, 1) + "," + loggerChannel(3, 1), "A1,A2,");
  EXPECT_EQ(loggerChannel(1, 2), "");  // disabled
  EXPECT_EQ(Users(*s, "IN1"), "TMP_01");

  // Scheme-level outputs and events move into the scheme; the key-unique one comes once.
  std::string outputs;
  for (int16_t i = 1; i <= s->outputs->Count(); ++i)
    outputs += s->outputs->Item(i)->Key() + "=" + s->outputs->Item(i)->Name() + ";";
  EXPECT_EQ(outputs,
            "TMP_01|OUT_0=Heater #1;ALARM=Alarm;TMP_02|OUT_0=Heater #2;"
            "TMP_03|OUT_0=Heater #3;");
  EXPECT_EQ(first->Outputs()->Count(), 1);
  EXPECT_EQ(first->Outputs()->Item(1)->Key(), "OUT_2");
  EXPECT_EQ(first->Events()->Count(), 0);
  ASSERT_EQ(s->events->Count(), 3);
  EXPECT_EQ(s->events->Item(2)->Key(), "TMP_02|EVENT01");
  EXPECT_EQ(s->events->Item(2)->Parent(), "TMP_02");
  EXPECT_EQ(s->events->Item(2)->Name(), "Hot");

  const xml::Node element = first->XMLNode();
  EXPECT_EQ(test::ChildTexts(element, {"INSTALLED", "SOURCE", "INDEX"}),
            "-1|" + test::LibraryPath() + "|TMP|1");
  EXPECT_EQ(element.parentNode(), set.XMLNode());
  EXPECT_EQ(std::vector<std::string>(listener->heard.begin(), listener->heard.begin() + 4),
            (std::vector<std::string>{"output TMP_01|OUT_0", "output ALARM", "event TMP_01|EVENT01",
                                      "added TMP_01"}));
  set.DisableEvents(true);
  set.NotifyChange(7);
  set.DisableEvents(false);
  set.NotifyChange(8);
  EXPECT_EQ(listener->heard.back(), "changed 8");
  EXPECT_EQ(listener->heard[listener->heard.size() - 2], "added TMP_03");
}

TEST(SchemeAdd, RefusalsAndNonFatalErrorsCarryTheirNumbersAndMessages) {
  auto s = MakeScheme();
  auto& set = *s->instruments;

  auto wide = s->Take("WIDE");
  EXPECT_FALSE(set.Add(wide, std::nullopt));
  EXPECT_EQ(ErrorLines(set), std::vector<std::string>{"800403E8 F Invalid logger type"});
  EXPECT_EQ(set.Errors()->Item(1)->Source(), "clsSchemeInstruments:Add");
  EXPECT_EQ(set.Count(), 0);
  EXPECT_EQ(wide->Key(), "WIDE_01");  // nothing is rolled back
  EXPECT_EQ(wide->Name(), "Wide #1");

  // GPS takes the serial port for itself and brings its buddy.
  EXPECT_TRUE(set.Add(s->Take("GPS"), std::nullopt));
  EXPECT_EQ(Keys(set), "GPS@1,TMP_01@2");
  EXPECT_EQ(s->logger->Resources()->Item("COM1")->Locked(), 1);
  EXPECT_FALSE(set.Add(s->Take("GPS"), std::nullopt));
  EXPECT_EQ(ErrorLines(set),
            std::vector<std::string>{
                "800403E9 F Only one instance of this instrument can be used in a scheme"});
  EXPECT_FALSE(set.Add(s->Take("MODEM"), std::nullopt));
  EXPECT_EQ(ErrorLines(set), std::vector<std::string>{"800403EB F The instrument requires "
                                                      "resources that are not available on "
                                                      "the logger"});

  // A requested logger channel the logger lacks stops Add after the first channel was placed.
  auto fixed = s->Take("FIX");
  EXPECT_FALSE(set.Add(fixed, std::nullopt));
  EXPECT_EQ(ErrorLines(set), std::vector<std::string>{
                                 "800403EC F The specified channel can't be found on the logger"});
  EXPECT_EQ(Keys(set), "GPS@1,TMP_01@2");
  EXPECT_EQ(fixed->Channels()->Item(1)->LoggerChannel(), "A2");
  EXPECT_EQ(fixed->Channels()->Item(1)->Alias(), "Temp1");
  EXPECT_EQ(Users(*s, "IN2"), "FIX_01");

  auto lost = s->Take("LOST");
  EXPECT_FALSE(set.Add(lost, std::nullopt));
  EXPECT_EQ(ErrorLines(set),
            std::vector<std::string>{"800403EE - Unable to load buddy instrument nowhere.xml|TMP"});
  EXPECT_EQ(set.Item("LOST_01"), lost);

  EXPECT_TRUE(set.Add(s->Take("CNT"), std::nullopt));
  EXPECT_FALSE(set.Add(s->Take("CNT"), std::nullopt));
  EXPECT_EQ(ErrorLines(set),
            std::vector<std::string>{"800403ED - There are no more available channels"});
  EXPECT_EQ(set.Count(), 5);

  // Without a logger the type and resource checks pass and nothing is allocated.
  auto bare = std::make_shared<clsSchemeInstruments>();
  EXPECT_TRUE(bare->Add(s->Take("WIDE"), std::nullopt));
  EXPECT_EQ(bare->Item(1)->Key(), "WIDE_01");
}

TEST(SchemeAdd, PositionsInstancesAndAliases) {
  auto s = MakeScheme();
  auto& set = *s->instruments;
  set.Add(s->Take("CNT"), std::nullopt);
  set.Add(s->Take("WIDE"), std::nullopt);  // refused: leaves no member
  set.Add(s->Take("LOST"), std::nullopt);
  set.Add(s->Take("LOST"), std::string("CNT_01"));
  set.Add(s->Take("LOST"), std::nullopt, std::string("CNT_01"));
  EXPECT_EQ(Keys(set), "LOST_02@1,CNT_01@2,LOST_03@3,LOST_01@4");
  EXPECT_EQ(ElementKeys(set.XMLNode()), "LOST_02,CNT_01,LOST_03,LOST_01");
  EXPECT_EQ(set.Item("lost_03"), set.Item(3));
  EXPECT_EQ(test::ErrorOf([&] { set.Item("LOST_09"); }), err::kSubscriptOutOfRange);

  // The next instance follows the largest in use, not the first gap.
  set.Remove("LOST_02");
  // The document is renumbered before anyone reads it.
  EXPECT_EQ(test::ChildText(set.XMLNode().selectNodes("INSTRUMENT")[2], "INDEX"), "3");
  EXPECT_EQ(Keys(set), "CNT_01@1,LOST_03@2,LOST_01@3");
  auto next = s->Take("LOST");
  set.Add(next, std::nullopt);
  EXPECT_EQ(next->Key(), "LOST_04");

  EXPECT_EQ(AliasKey("Ab"), "x4162");
  EXPECT_EQ(AliasKey("\xC3\xA9"), "xE9");  // windows-1252 code of é
  EXPECT_EQ(SplitTrailingNumber("Flow12"), (std::pair<std::string, std::string>("Flow", "12")));
  EXPECT_EQ(SplitTrailingNumber("123"), (std::pair<std::string, std::string>()));
  clsSchemeInstruments aliases;
  EXPECT_EQ(aliases.GetUniqueAlias("Flow3"), "Flow3");
  EXPECT_EQ(aliases.GetUniqueAlias("Flow3"), "Flow1");  // the old number is dropped
  EXPECT_EQ(aliases.GetUniqueAlias("Flow"), "Flow");
  EXPECT_EQ(aliases.GetUniqueAlias("Flow"), "Flow2");
  EXPECT_EQ(aliases.GetUniqueAlias("flow"), "flow");  // letter case makes another alias
  EXPECT_EQ(aliases.GetUniqueAlias("7"), "7");
  EXPECT_EQ(aliases.GetUniqueAlias("7"), "1");
}

TEST(SchemeRemove, GivesBackChannelsResourcesOutputsAndEventsAndHonoursRefusals) {
  auto s = MakeScheme();
  auto& set = *s->instruments;
  auto listener = std::make_shared<test::RecordingListener>();
  set.Listener(listener);
  set.Add(s->Take("TMP"), std::nullopt);
  set.Add(s->Take("GPS"), std::nullopt);  // brings TMP_02
  ASSERT_EQ(Keys(set), "TMP_01@1,GPS@2,TMP_02@3");

  listener->cancelRemove = true;
  set.DisableEvents(true);
  set.Remove("GPS", true);
  EXPECT_EQ(listener->heard.back(), "query GPS");  // raised even with events disabled
  EXPECT_EQ(set.Count(), 3);
  listener->cancelRemove = false;
  set.DisableEvents(false);

  set.Remove("GPS", true);
  EXPECT_EQ(listener->heard.back(), "removed GPS");
  EXPECT_EQ(s->logger->Resources()->Item("COM1")->Locked(), 0);
  EXPECT_EQ(Users(*s, "COM1"), "");

  // A user left on a resource is swept away, and the resource unlocked with its last user.
  auto exc = s->logger->Resources()->Item("EXC");
  exc->Users()->Add("TMP_01");
  exc->Locked(1);
  auto gone = set.Item(1);
  set.Remove(1);
  EXPECT_EQ(Keys(set), "TMP_02@1");
  EXPECT_EQ(ElementKeys(set.XMLNode()), "TMP_02");
  EXPECT_EQ(gone->Index(), 0);
  EXPECT_EQ(Users(*s, "IN1"), "");
  EXPECT_EQ(Users(*s, "EXC"), "");
  EXPECT_EQ(exc->Locked(), 0);
  EXPECT_EQ(s->logger->InputChannels()->NextChannel(1, 60.0, -40.0)->Key(), "A1");
  // The scheme outputs and events of TMP_01 went with it, ALARM too (TMP_01 brought it).
  EXPECT_EQ(s->outputs->Count(), 1);
  EXPECT_EQ(s->outputs->Item(1)->Key(), "TMP_02|OUT_0");
  EXPECT_EQ(s->events->Count(), 1);

  EXPECT_EQ(test::ErrorOf([&] { set.Remove("TMP_01"); }), err::kSubscriptOutOfRange);
  set.Clear();
  EXPECT_EQ(set.Count(), 0);
  EXPECT_EQ(Users(*s, "IN2"), "");
  EXPECT_FALSE(set.XMLNode().selectSingleNode("INSTRUMENT"));
}

TEST(SchemeLoad, ReloadsSavedInstrumentsAndReportsThoseThatCannotBeMade) {
  auto s = MakeScheme();
  s->instruments->Add(s->Take("TMP"), std::nullopt);
  s->instruments->Add(s->Take("CNT"), std::nullopt);
  xml::Node saved = s->instruments->XMLNode().cloneNode(true);
  // A class nobody registered, between the two good ones; and a duplicated alias.
  xml::Node bad = ParseNode("<INSTRUMENT><BASECLASS>No.SuchClass</BASECLASS></INSTRUMENT>");
  saved.insertBefore(bad, saved.selectNodes("INSTRUMENT")[1]);
  SetNodeText(saved.selectNodes("INSTRUMENT")[2].selectSingleNode("CHANNELS/CHANNEL"), "ALIAS",
              "Temp");

  auto reloaded = std::make_shared<clsSchemeInstruments>();
  reloaded->Scheme(s);
  reloaded->XMLNode(saved);
  EXPECT_EQ(Keys(*reloaded), "TMP_01@1,CNT_01@2");
  EXPECT_EQ(reloaded->Item("CNT_01")->Channels()->Item(1)->LoggerChannel(), "C1");
  std::vector<std::string> lines = ErrorLines(*reloaded);
  ASSERT_GE(lines.size(), 4u);
  EXPECT_EQ(lines[0], "80040000 - Unable to create the instrument base class No.SuchClass");
  EXPECT_EQ(lines[1], "80040000 - Instrument failed to load the XML node");
  EXPECT_EQ(lines[2], "80040000 - Instrument Install method failed");
  EXPECT_EQ(lines.back(), "800403EA - Duplicate alias 'Temp' found in instrument 'Counter #1");
  EXPECT_EQ(reloaded->Errors()->Item(static_cast<int16_t>(lines.size()))->Source(),
            "clsSchemeInstruments:RefreshAliasCache");
  // The default base class is written back into elements that had none.
  EXPECT_EQ(test::ChildText(saved.selectNodes("INSTRUMENT")[0], "BASECLASS"),
            "Corvale2.clsStdInstrument");

  // Loading the same element again does nothing.
  reloaded->Errors()->Clear();
  reloaded->XMLNode(saved);
  EXPECT_EQ(reloaded->Errors()->Count(), 0);
}

}  // namespace
}  // namespace corvale

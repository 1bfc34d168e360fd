#include "corvale/systems/systems.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "corvale/binding/node_access.h"
#include "corvale/core/error.h"
#include "corvale/core/host.h"
#include "tests/support/test_support.h"

namespace corvale {
namespace {

using test::ChildText;
using test::ErrorOf;
using test::ReadFile;
using test::WriteFile;

constexpr const char* kFile = R"(<?xml version = "1.0" encoding="windows-1252"?>
<SYSTEMS>
  <SOURCE>sys</SOURCE>
  <SYSTEM NAME="Weather">
    <KEY>WX</KEY>
    <NAME>Weather</NAME>
    <ICONSOURCE>SUN</ICONSOURCE>
    <SCHEME><LOGGER>CV800</LOGGER></SCHEME>
  </SYSTEM>
  <SYSTEM>
    <KEY>LEVEL</KEY>
    <INSTRUMENTS>
      <INSTRUMENT><KEY>PRS</KEY><LOGCHANNEL>A</LOGCHANNEL><LOGCHANNEL>B</LOGCHANNEL>
        <LOGCHANNEL>C</LOGCHANNEL></INSTRUMENT>
      <INSTRUMENT><KEY>prs</KEY></INSTRUMENT>
    </INSTRUMENTS>
  </SYSTEM>
</SYSTEMS>
)";

TEST(Systems, KeysAndIndexFollowPositionsAndDuplicatesChangeNothing) {
  auto systems = std::make_shared<clsSystems>();
  auto first = std::make_shared<clsSystem>();
  auto second = std::make_shared<clsSystem>();
  systems->Add(first);
  systems->Add(second);
  EXPECT_EQ(first->Key() + " " + second->Key(), "SYSTEM_1 SYSTEM_2");
  EXPECT_EQ(first->Index(), 1);
  EXPECT_EQ(second->Index(), 2);

  const std::string path = test::TempDir() + "/systems.xml";
  systems->Save(path);
  const std::string before = ReadFile(path);
  auto twin = std::make_shared<clsSystem>();
  twin->Key("system_2");
  EXPECT_EQ(ErrorOf([&] { systems->Add(twin); }), err::kDuplicateSystemKey);
  EXPECT_EQ(systems->Count(), 2);
  systems->Save();
  EXPECT_EQ(ReadFile(path), before);

  // A removal moves the later systems up; the next Add numbers them again and reuses the key.
  systems->Remove(1);
  auto third = std::make_shared<clsSystem>();
  systems->Add(third);
  EXPECT_EQ(third->Key(), "SYSTEM_1");
  EXPECT_EQ(second->Index(), 1);
  EXPECT_EQ(third->Index(), 2);
  systems->Clear();
  EXPECT_EQ(systems->Count(), 0);
  EXPECT_EQ(systems->XMLNode().selectNodes("SYSTEM").size(), 0u);

  // A file whose INDEX values are missing is numbered throughout by the first Add.
  ASSERT_TRUE(systems->Load(WriteFile("systems/plain.xml", kFile)));
  systems->Add(std::make_shared<clsSystem>());
  const auto listed = systems->XMLNode().selectNodes("SYSTEM");
  EXPECT_EQ(
      ChildText(listed[0], "INDEX") + ChildText(listed[1], "INDEX") + ChildText(listed[2], "INDEX"),
      "123");
  EXPECT_EQ(ChildText(listed[2], "KEY"), "SYSTEM_1");
}

TEST(Systems, ItemIsADetachedCopyWithSourceAndBoundLists) {
  auto host = std::make_shared<test::RecordingHost>();
  SetHostServices(host);
  auto systems = std::make_shared<clsSystems>();
  ASSERT_TRUE(systems->Load(WriteFile("systems/file.xml", kFile)));
  ASSERT_EQ(systems->Count(), 2);

  SystemPtr weather = systems->Item("wx");
  ASSERT_NE(weather, nullptr);
  EXPECT_EQ(weather->Source(), "sys|WX");
  EXPECT_EQ(weather->SchemeNode().selectSingleNode("LOGGER").text(), "CV800");
  ASSERT_NE(weather->Icon(), nullptr);
  EXPECT_EQ(host->iconRequests.back(), std::make_pair(std::string("SUN"), std::string("HALDEN")));
  // The copy got an INSTRUMENTS element; the file's system did not, and keeps its name.
  EXPECT_EQ(weather->XMLNode().selectNodes("INSTRUMENTS").size(), 1u);
  const xml::Node stored = systems->XMLNode().selectNodes("SYSTEM")[0];
  EXPECT_EQ(stored.selectNodes("INSTRUMENTS").size(), 0u);
  weather->Name("Renamed");
  EXPECT_EQ(weather->XMLNode().getAttribute("NAME"), "Renamed");
  EXPECT_EQ(stored.getAttribute("NAME"), "Weather");
  EXPECT_EQ(ChildText(stored, "SOURCE"), "(absent)");
  EXPECT_EQ(systems->Item(3), nullptr);
  EXPECT_EQ(systems->Item("none"), nullptr);

  // LibraryItem is the file's own element: binding it adds INSTRUMENTS to the file.
  EXPECT_EQ(systems->LibraryItem("WX")->Instruments()->Count(), 0);
  EXPECT_EQ(stored.selectNodes("INSTRUMENTS").size(), 1u);

  // Forced writes keep their elements, also when empty or 0.
  weather->Message("");
  weather->SubInterval(0);
  weather->LogInterval(0);
  EXPECT_EQ(test::ChildTexts(weather->XMLNode(), {"MESSAGE", "SUBINTERVAL", "LOGINTERVAL"}),
            "|0|(absent)");

  // Instrument entries: the first of a repeated key answers; LOGCHANNEL lists keep order.
  auto instruments = systems->Item("LEVEL")->Instruments();
  ASSERT_EQ(instruments->Count(), 2);
  SystemInstrumentPtr transducer = instruments->Item("PRS");
  EXPECT_EQ(transducer, instruments->Item(1));
  ASSERT_EQ(transducer->Count(), 3);
  transducer->Remove(2);
  EXPECT_EQ(transducer->LogChannel(1) + transducer->LogChannel(2), "AC");
  transducer->Add("D");
  transducer->Remove("a");
  EXPECT_EQ(transducer->LogChannel(1) + transducer->LogChannel(2), "CD");
  EXPECT_EQ(ErrorOf([&] { transducer->LogChannel(3); }), err::kSubscriptOutOfRange);
  transducer->Index(0);
  EXPECT_EQ(ChildText(transducer->XMLNode(), "INDEX"), "0");
  instruments->Remove("Prs");
  EXPECT_EQ(instruments->Item(1)->Key(), "prs");
  EXPECT_EQ(instruments->Item("missing"), nullptr);
  EXPECT_EQ(ErrorOf([&] { instruments->Remove("missing"); }), err::kSubscriptOutOfRange);
  SetHostServices(nullptr);
}

}  // namespace
}  // namespace corvale

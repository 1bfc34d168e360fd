// Instrument channels: defaults a new channel writes, keys, the document order that Add and
// Move leave behind, and what a logger input channel hands over.
#include "corvale/instruments/inst_channels.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "corvale/core/error.h"
#include "corvale/core/xml.h"
#include "tests/support/test_support.h"

namespace corvale {
namespace {

using test::ErrorOf;

xml::Node ChannelsIn(const std::string& body) {
  xml::Document document = xml::Document::create();
  EXPECT_TRUE(document.loadXML("<INSTRUMENT><CHANNELS>" + body + "</CHANNELS></INSTRUMENT>"));
  return document.documentElement().selectSingleNode("CHANNELS");
}

std::shared_ptr<clsInstChannels> Bound(const std::string& body) {
  auto channels = std::make_shared<clsInstChannels>();
  channels->XMLNode(ChannelsIn(body));
  return channels;
}

std::shared_ptr<clsInstChannels> ABC() {
  return Bound(
      "<CHANNEL><KEY>A</KEY></CHANNEL><CHANNEL><KEY>B</KEY></CHANNEL>"
      "<CHANNEL><KEY>C</KEY></CHANNEL>");
}

InstChannelPtr Keyed(const std::string& key) {
  auto channel = std::make_shared<clsInstChannel>();
  channel->Key(key);
  return channel;
}

std::string CollectionOrder(const clsInstChannels& channels) {
  std::string keys;
  for (int i = 1; i <= channels.Count(); ++i) keys += channels.Item(i)->Key();
  return keys;
}

// Keys in document order, each followed by its INDEX.
std::string DocumentOrder(const clsInstChannels& channels) {
  std::string keys;
  for (const xml::Node& child : channels.XMLNode().selectNodes("CHANNEL"))
    keys += child.selectSingleNode("KEY").text() + child.selectSingleNode("INDEX").text();
  return keys;
}

TEST(InstChannel, NewChannelReadsItsDefaultsAndWritesOnlyTheNonEmptyOnes) {
  auto channel = std::make_shared<clsInstChannel>();
  xml::Node element = channel->XMLNode();
  ASSERT_TRUE(element.selectSingleNode("CDTSETTINGS"));
  EXPECT_EQ(channel->CDTSettings()->XMLNode(), element.selectSingleNode("CDTSETTINGS"));

  EXPECT_FALSE(channel->Enabled());
  EXPECT_DOUBLE_EQ(channel->Multiplier(), 1.0);
  EXPECT_EQ(channel->NumberBytes(), 1);
  EXPECT_EQ(channel->LogMask(), -1);
  EXPECT_EQ(channel->Window(), "SCHEME");
  EXPECT_FALSE(channel->AllocateXMEM());
  EXPECT_DOUBLE_EQ(channel->Offset(), 0.0);
  EXPECT_EQ(channel->CopyDestination(), 0);
  EXPECT_EQ(element.selectSingleNode("MULTIPLIER").text(), "1");
  EXPECT_EQ(element.selectSingleNode("NUMBERBYTES").text(), "1");
  EXPECT_EQ(element.selectSingleNode("LOGMASK").text(), "-1");
  EXPECT_EQ(element.selectSingleNode("WINDOW").text(), "SCHEME");
  EXPECT_EQ(element.selectSingleNode("ALLOCXMEM").text(), "False");
  EXPECT_EQ(element.selectSingleNode("COPYDESTINATION").text(), "0");
  EXPECT_FALSE(element.selectSingleNode("ENABLED"));
  EXPECT_FALSE(element.selectSingleNode("OFFSET"));

  channel->Offset(1.5);
  channel->Offset(0);
  EXPECT_FALSE(element.selectSingleNode("OFFSET"));
  channel->Format("");
  channel->Formula("");
  EXPECT_TRUE(element.selectSingleNode("FORMAT"));
  EXPECT_TRUE(element.selectSingleNode("FORMULA"));
  channel->AllocateXMEM(true);
  EXPECT_EQ(element.selectSingleNode("ALLOCXMEM").text(), "-1");
  channel->Enabled(true);
  EXPECT_EQ(element.selectSingleNode("ENABLED").text(), "-1");

  // The data type sets the byte count, except for text, whose length the author sets.
  channel->NumberBytes(12);
  channel->InputDataType(6);
  EXPECT_EQ(channel->NumberBytes(), 12);
  channel->InputDataType(8);
  EXPECT_EQ(element.selectSingleNode("NUMBERBYTES").text(), "8");
  channel->InputDataType(0);
  EXPECT_EQ(element.selectSingleNode("INPUTDATATYPE").text(), "0") << "written even when 0";
  EXPECT_EQ(channel->NumberBytes(), 1);
  channel->InputDataType(12);
  EXPECT_EQ(channel->InputDataType(), 12);
  EXPECT_EQ(channel->NumberBytes(), 1);
}

TEST(InstChannel, TypeTablesKeepTheirNames) {
  EXPECT_EQ(DataTypes().size(), 9u);
  EXPECT_EQ(DataTypeName(0), "Unsigned Byte");
  EXPECT_EQ(DataTypeName(3), "Signed Word");
  EXPECT_EQ(DataTypeName(7), "SP Floating point");
  EXPECT_EQ(DataTypeName(8), "DP Floating point");
  EXPECT_EQ(DataTypeName(9), "");
  EXPECT_EQ(ChannelTypes().size(), 7u);
  EXPECT_EQ(ChannelTypeName(1), "Analogue");
  EXPECT_EQ(ChannelTypeName(4), "SDI-12");
  EXPECT_EQ(ChannelTypeName(6), "Internal");
  EXPECT_EQ(ChannelTypeName(-1), "");
}

TEST(InstChannels, KeysAreGeneratedIntoGapsAndRepeatsAreRefused) {
  auto channels =
      Bound("<CHANNEL><KEY>CHAN_0</KEY></CHANNEL><CHANNEL/><CHANNEL><KEY>CHAN_2</KEY></CHANNEL>");
  EXPECT_EQ(channels->Item(2)->Key(), "CHAN_1");
  EXPECT_EQ(channels->XMLNode().selectNodes("CHANNEL")[1].selectSingleNode("KEY").text(), "CHAN_1");
  EXPECT_EQ(channels->Add(std::make_shared<clsInstChannel>())->Key(), "CHAN_3");
  EXPECT_EQ(channels->Item("chan_3"), channels->Item(4)) << "keys ignore case";

  const std::string before = channels->XMLNode().xml();
  EXPECT_EQ(ErrorOf([&] { channels->Add(Keyed("chan_0")); }), err::kDuplicateKey);
  EXPECT_EQ(ErrorOf([&] { channels->Item("NONE"); }), err::kSubscriptOutOfRange);
  EXPECT_EQ(ErrorOf([&] { channels->Remove(0); }), err::kSubscriptOutOfRange);
  EXPECT_EQ(channels->XMLNode().xml(), before) << "a refused call changes nothing";

  EXPECT_EQ(
      ErrorOf([] { Bound("<CHANNEL><KEY>X</KEY></CHANNEL><CHANNEL><KEY>x</KEY></CHANNEL>"); }),
      err::kDuplicateKey);
}

TEST(InstChannels, AddPlacesTheElementByItsOwnRule) {
  // After the second-to-last channel the element goes to the end; the entry does not.
  auto channels = ABC();
  channels->Add(Keyed("X"), std::nullopt, 2);
  EXPECT_EQ(CollectionOrder(*channels), "ABXC");
  EXPECT_EQ(DocumentOrder(*channels), "A1B2C3X4");

  channels = ABC();
  channels->Add(Keyed("X"), std::nullopt, 1);
  EXPECT_EQ(CollectionOrder(*channels), "AXBC");
  EXPECT_EQ(DocumentOrder(*channels), "A1X2B3C4");

  channels = ABC();
  channels->Add(Keyed("X"), std::nullopt, "C");
  channels->Add(Keyed("Y"), "b");
  channels->Add(Keyed("Z"));
  EXPECT_EQ(CollectionOrder(*channels), "AYBCXZ");
  EXPECT_EQ(DocumentOrder(*channels), "A1Y2B3C4X5Z6");

  // Missing places and both places at once are refused before anything moves.
  channels = ABC();
  const std::string before = channels->XMLNode().xml();
  EXPECT_EQ(ErrorOf([&] { channels->Add(Keyed("X"), 7); }), err::kSubscriptOutOfRange);
  EXPECT_EQ(ErrorOf([&] { channels->Add(Keyed("X"), std::nullopt, "Q"); }),
            err::kSubscriptOutOfRange);
  EXPECT_EQ(ErrorOf([&] { channels->Add(Keyed("X"), 1, 2); }), err::kInvalidProcedureCall);
  EXPECT_EQ(channels->XMLNode().xml(), before);
  EXPECT_EQ(channels->Count(), 3);
}

TEST(InstChannels, MoveTowardsTheEndLeavesTheDocumentOnePlaceBehind) {
  auto channels = ABC();
  channels->Move(3, 1);
  EXPECT_EQ(CollectionOrder(*channels), "CAB");
  EXPECT_EQ(DocumentOrder(*channels), "C1A2B3");

  channels = ABC();
  channels->Move(1, 2);
  EXPECT_EQ(CollectionOrder(*channels), "BAC");
  EXPECT_EQ(DocumentOrder(*channels), "A1B2C3");

  channels = ABC();
  channels->Move(1, 3);
  EXPECT_EQ(CollectionOrder(*channels), "BCA");
  EXPECT_EQ(DocumentOrder(*channels), "B1A2C3");

  channels = ABC();
  channels->Move(2, 2);
  EXPECT_EQ(CollectionOrder(*channels), "ABC");
  EXPECT_EQ(ErrorOf([&] { channels->Move(1, 4); }), err::kSubscriptOutOfRange);
  EXPECT_EQ(ErrorOf([&] { channels->Move(0, 1); }), err::kSubscriptOutOfRange);
  EXPECT_EQ(CollectionOrder(*channels), "ABC");
  EXPECT_EQ(channels->XMLNode().selectNodes("CHANNEL").size(), 3u);
}

TEST(InstChannels, RemoveRenumbersAndParentAndChangedReachEveryChannel) {
  auto channels = ABC();
  channels->Remove(2);
  EXPECT_EQ(DocumentOrder(*channels), "A1C2");
  channels->Remove("c");
  EXPECT_EQ(DocumentOrder(*channels), "A1");

  channels = ABC();
  channels->Parent("TMP100");
  for (const xml::Node& child : channels->XMLNode().selectNodes("CHANNEL"))
    EXPECT_EQ(child.selectSingleNode("PARENT").text(), "TMP100");
  EXPECT_EQ(channels->Parent(), "TMP100");

  EXPECT_FALSE(channels->Changed());
  channels->Item(3)->Changed(true);
  EXPECT_TRUE(channels->Changed());
  channels->Changed(false);
  EXPECT_FALSE(channels->Item(3)->XMLNode().selectSingleNode("CHANGED"));

  xml::Node element = channels->XMLNode();
  channels->Clear();
  EXPECT_EQ(channels->Count(), 0);
  EXPECT_TRUE(element.selectNodes("CHANNEL").empty());

  // Aliases are reachable by name, as the outputs' look-up asks for them.
  auto channel = channels->Add(std::make_shared<clsInstChannel>());
  channel->Invoke("alias", {Variant("Level")});
  EXPECT_EQ(channel->Alias(), "Level");
  EXPECT_EQ(channels->Invoke("Item", {Variant(1)})
                .ToObjectAs<clsInstChannel>()
                ->Invoke("Alias")
                .ToString(),
            "Level");
}

// A logger input channel as a logger definition offers it.
struct FakeLoggerChannel : ILoggerInputChannel {
  std::string key = "AI3", address = "0x40", format = "0.000";
  int32_t type = 2;
  int16_t bytes = 2;
  bool isVirtual = false;
  std::string Key() const override { return key; }
  std::string BaseAddress() const override { return address; }
  int32_t InputDataType() const override { return type; }
  int16_t NumberBytes() const override { return bytes; }
  bool Virtual() const override { return isVirtual; }
  std::string Format() const override { return format; }
};

TEST(InstChannel, LoggerChannelKeepsTheChannelsSignednessForTheSameSize) {
  auto channel = std::make_shared<clsInstChannel>();
  channel->InputDataType(3);  // Signed Word
  auto logger = std::make_shared<FakeLoggerChannel>();

  channel->LoggerChannel(logger);
  EXPECT_EQ(channel->LoggerChannel(), "AI3");
  EXPECT_EQ(channel->BaseAddress(), "0x40");
  EXPECT_EQ(channel->InputDataType(), 3);
  EXPECT_EQ(channel->Format(), "0.000");
  EXPECT_FALSE(channel->Virtual());

  logger->type = 4;  // Unsigned Long
  logger->bytes = 4;
  logger->format = "0";
  logger->isVirtual = true;
  channel->LoggerChannel(logger);
  EXPECT_EQ(channel->InputDataType(), 4);
  EXPECT_EQ(channel->NumberBytes(), 4);
  EXPECT_EQ(channel->Format(), "0.000") << "a format of its own is kept";
  EXPECT_TRUE(channel->Virtual());

  // A logger channel without a size leaves size and type alone.
  logger->type = 8;
  logger->bytes = 0;
  channel->LoggerChannel(logger);
  EXPECT_EQ(channel->InputDataType(), 4);
  EXPECT_EQ(channel->NumberBytes(), 4);

  logger->type = 7;
  logger->bytes = 4;
  channel->LoggerChannel(logger);
  EXPECT_EQ(channel->InputDataType(), 7);

  channel->LoggerChannel(nullptr);
  EXPECT_EQ(channel->LoggerChannel(), "");
  EXPECT_FALSE(channel->XMLNode().selectSingleNode("LOGGERCHANNEL"));
}

TEST(InstChannel, RebindingTakesTheSettingsOfTheNewElement) {
  xml::Node element = ChannelsIn(
      "<CHANNEL><KEY>A</KEY><CDTSETTINGS><CDT><KEY>K</KEY></CDT></CDTSETTINGS></CHANNEL>"
      "<CHANNEL><KEY>B</KEY></CHANNEL>");
  auto channel = std::make_shared<clsInstChannel>();
  auto first = element.selectNodes("CHANNEL")[0], second = element.selectNodes("CHANNEL")[1];
  channel->XMLNode(first);
  EXPECT_EQ(channel->CDTSettings()->Count(), 1);
  channel->XMLNode(second);
  EXPECT_EQ(channel->CDTSettings()->Count(), 0);
  EXPECT_EQ(channel->CDTSettings()->XMLNode(), second.selectSingleNode("CDTSETTINGS"));
  EXPECT_EQ(first.selectSingleNode("CDTSETTINGS").selectNodes("CDT").size(), 1u);
}

}  // namespace
}  // namespace corvale

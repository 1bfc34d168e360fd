// Instrument channels: defaults a new channel writes, keys, the document order that Add and
// Move leave behind, and what a logger input channel hands over.
#include "corvale/instruments/inst_channels.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "corvale/binding/node_access.h"
#include "corvale/core/error.h"
#include "corvale/xml/xml.h"
#include "tests/support/test_support.h"

namespace corvale {
namespace {

using test::ChildText;
using test::ChildTexts;
using test::ErrorOf;

xml::Node ChannelsIn(const std::string& body) {
  return ParseNode("<INSTRUMENT><CHANNELS>" + body + "</CHANNELS></INSTRUMENT>").firstChild();
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

// The keys in collection order, a blank, then the keys in document order each followed by its
// INDEX: "ABC A1B2C3".
std::string Orders(const clsInstChannels& channels) {
  std::string keys;
  for (int i = 1; i <= channels.Count(); ++i) keys += channels.Item(i)->Key();
  keys += " ";
  for (const xml::Node& child : channels.XMLNode().selectNodes("CHANNEL"))
    keys += ChildText(child, "KEY") + ChildText(child, "INDEX");
  return keys;
}

TEST(InstChannel, NewChannelReadsItsDefaultsAndWritesOnlyTheNonEmptyOnes) {
  auto channel = std::make_shared<clsInstChannel>();
  xml::Node element = channel->XMLNode();
  EXPECT_EQ(channel->CDTSettings()->XMLNode(), element.selectSingleNode("CDTSETTINGS"));

  EXPECT_FALSE(channel->Enabled() || channel->AllocateXMEM());
  EXPECT_DOUBLE_EQ(channel->Multiplier(), 1.0);
  EXPECT_EQ(channel->NumberBytes(), 1);
  EXPECT_EQ(channel->LogMask(), -1);
  EXPECT_EQ(channel->Window(), "SCHEME");
  EXPECT_DOUBLE_EQ(channel->Offset(), 0.0);
  EXPECT_EQ(channel->CopyDestination(), 0);
  EXPECT_EQ(ChildTexts(element, {"MULTIPLIER", "NUMBERBYTES", "LOGMASK", "WINDOW", "ALLOCXMEM",
                                 "COPYDESTINATION", "ENABLED", "OFFSET"}),
            "1|1|-1|SCHEME|False|0|(absent)|(absent)");

  channel->Offset(1.5);
  channel->Offset(0);
  channel->Format("");
  channel->Formula("");
  channel->AllocateXMEM(true);
  channel->Enabled(true);
  // Offset 0 is stored by absence; Format and Formula are always written.
  EXPECT_EQ(ChildTexts(element, {"OFFSET", "FORMAT", "FORMULA", "ALLOCXMEM", "ENABLED"}),
            "(absent)|||-1|-1");

  // The data type sets the byte count, except for text, whose length the author sets.
  channel->NumberBytes(12);
  channel->InputDataType(6);
  EXPECT_EQ(channel->NumberBytes(), 12);
  channel->InputDataType(8);
  EXPECT_EQ(ChildText(element, "NUMBERBYTES"), "8");
  channel->InputDataType(0);
  EXPECT_EQ(ChildText(element, "INPUTDATATYPE"), "0") << "written even when 0";
  EXPECT_EQ(channel->NumberBytes(), 1);
  channel->InputDataType(12);  // unknown: kept, the size left alone
  EXPECT_EQ(channel->InputDataType(), 12);
  EXPECT_EQ(channel->NumberBytes(), 1);
}

TEST(InstChannels, KeysAreGeneratedIntoGapsAndRepeatsAreRefused) {
  auto channels =
      Bound("<CHANNEL><KEY>CHAN_0</KEY></CHANNEL><CHANNEL/><CHANNEL><KEY>CHAN_2</KEY></CHANNEL>");
  EXPECT_EQ(channels->Item(2)->Key(), "CHAN_1");
  EXPECT_EQ(ChildText(channels->XMLNode().selectNodes("CHANNEL")[1], "KEY"), "CHAN_1");
  EXPECT_EQ(channels->Add(std::make_shared<clsInstChannel>())->Key(), "CHAN_3");
  EXPECT_EQ(channels->Item("chan_3"), channels->Item(4)) << "keys ignore case";

  const std::string before = channels->XMLNode().xml();
  EXPECT_EQ(ErrorOf([&] { channels->Add(Keyed("chan_0")); }), err::kDuplicateKey);
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
  EXPECT_EQ(Orders(*channels), "ABXC A1B2C3X4");

  channels = ABC();
  channels->Add(Keyed("X"), std::nullopt, 1);
  EXPECT_EQ(Orders(*channels), "AXBC A1X2B3C4");

  channels = ABC();
  channels->Add(Keyed("X"), std::nullopt, "C");
  channels->Add(Keyed("Y"), "b");
  channels->Add(Keyed("Z"));
  EXPECT_EQ(Orders(*channels), "AYBCXZ A1Y2B3C4X5Z6");

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
  for (auto [from, to, orders] :
       {std::tuple{3, 1, "CAB C1A2B3"}, {1, 2, "BAC A1B2C3"}, {1, 3, "BCA B1A2C3"}}) {
    auto channels = ABC();
    channels->Move(static_cast<int16_t>(from), static_cast<int16_t>(to));
    EXPECT_EQ(Orders(*channels), orders) << from << " to " << to;
  }
  // A move to its own place and a refused move change nothing, not even INDEX.
  auto channels = ABC();
  channels->Move(2, 2);
  EXPECT_EQ(ErrorOf([&] { channels->Move(1, 4); }), err::kSubscriptOutOfRange);
  EXPECT_EQ(ErrorOf([&] { channels->Move(0, 1); }), err::kSubscriptOutOfRange);
  EXPECT_EQ(Orders(*channels), "ABC A(absent)B(absent)C(absent)");
}

TEST(InstChannels, RemoveRenumbersAndParentAndChangedReachEveryChannel) {
  auto channels = ABC();
  channels->Remove(2);
  EXPECT_EQ(Orders(*channels), "AC A1C2");
  channels->Remove("c");
  EXPECT_EQ(Orders(*channels), "A A1");

  channels = ABC();
  channels->Parent("TMP100");
  for (const xml::Node& child : channels->XMLNode().selectNodes("CHANNEL"))
    EXPECT_EQ(ChildText(child, "PARENT"), "TMP100");
  EXPECT_FALSE(channels->Changed());
  channels->Item(3)->Changed(true);
  EXPECT_TRUE(channels->Changed());
  channels->Changed(false);
  EXPECT_EQ(ChildText(channels->Item(3)->XMLNode(), "CHANGED"), "(absent)");

  xml::Node element = channels->XMLNode();
  channels->Clear();
  EXPECT_EQ(channels->Count(), 0);
  EXPECT_TRUE(element.selectNodes("CHANNEL").empty());

  // Aliases are reachable by name, as the outputs' look-up asks for them.
  channels->Add(std::make_shared<clsInstChannel>())->Invoke("alias", {Variant("Level")});
  EXPECT_EQ(channels->Invoke("Item", {Variant(1)})
                .ToObjectAs<clsInstChannel>()
                ->Invoke("Alias")
                .ToString(),
            "Level");
  // Late-bound Item and Remove take a key as well as a position.
  EXPECT_EQ(channels->Invoke("item", {Variant("chan_0")}).ToObjectAs<clsInstChannel>()->Alias(),
            "Level");
  EXPECT_EQ(ErrorOf([&] { channels->Invoke("Remove"); }), err::kInvalidProcedureCall);
  channels->Invoke("Remove", {Variant("CHAN_0")});
  EXPECT_EQ(channels->Count(), 0);
  EXPECT_TRUE(element.selectNodes("CHANNEL").empty());
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
  // Hands over a logger channel of that type and size; gives the channel's type and size.
  auto hand = [&](int32_t type, int16_t bytes) {
    logger->type = type;
    logger->bytes = bytes;
    channel->LoggerChannel(logger);
    return std::to_string(channel->InputDataType()) + "/" + std::to_string(channel->NumberBytes());
  };
  EXPECT_EQ(hand(2, 2), "3/2");  // from Unsigned Word
  EXPECT_EQ(channel->LoggerChannel() + channel->BaseAddress() + channel->Format(), "AI30x400.000");
  EXPECT_FALSE(channel->Virtual());
  logger->format = "0";
  logger->isVirtual = true;
  EXPECT_EQ(hand(4, 4), "4/4");  // Unsigned Long
  EXPECT_EQ(channel->Format(), "0.000") << "a format of its own is kept";
  EXPECT_TRUE(channel->Virtual());
  EXPECT_EQ(hand(8, 0), "4/4") << "a logger channel without a size leaves size and type alone";
  EXPECT_EQ(hand(7, 4), "7/4");
  channel->LoggerChannel(nullptr);
  EXPECT_EQ(ChildText(channel->XMLNode(), "LOGGERCHANNEL"), "(absent)");
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

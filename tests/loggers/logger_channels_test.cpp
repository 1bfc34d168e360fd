#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "corvale/binding/node_access.h"
#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/instruments/inst_channel.h"
#include "corvale/loggers/logger_def.h"
#include "corvale/resources/logger_resource_request.h"
#include "tests/support/test_support.h"

namespace corvale {
namespace {

using test::ChildText;
using test::ErrorOf;

// A CHANNEL element: key (also its description), type, range, and "RESOURCE" or
// "RESOURCE:LOCK" requests.
std::string Channel(const std::string& key, int type, double min, double max,
                    std::vector<std::string> requests) {
  std::string xml = "<CHANNEL><KEY>" + key + "</KEY><DESCRIPTION>" + key +
                    "</DESCRIPTION><CHANNELTYPE>" + IntegerText(type) + "</CHANNELTYPE>";
  if (min != 0) xml += "<MIN>" + DoubleText(min) + "</MIN>";
  if (max != 0) xml += "<MAX>" + DoubleText(max) + "</MAX>";
  xml += "<RESOURCES>";
  for (const std::string& request : requests) {
    const size_t colon = request.find(':');
    xml += "<REQUEST><RESOURCE>" + request.substr(0, colon) + "</RESOURCE>";
    if (colon != std::string::npos) xml += "<LOCK>" + request.substr(colon + 1) + "</LOCK>";
    xml += "</REQUEST>";
  }
  return xml + "</RESOURCES></CHANNEL>";
}

std::shared_ptr<clsLoggerDef> Logger(const std::string& inputs, const std::string& resources) {
  return std::make_shared<clsLoggerDef>(ParseNode("<LOGGER><INPUTCHANNELS>" + inputs +
                                                  "</INPUTCHANNELS><RESOURCES>" + resources +
                                                  "</RESOURCES></LOGGER>"));
}

std::string Key(const InputChannelPtr& channel) { return channel ? channel->Key() : "(none)"; }

TEST(LoggerInputChannel, PropertiesEncodingsAndTheInstrumentChannelView) {
  auto channel = std::make_shared<clsLoggerInputChannel>();
  xml::Node element = channel->XMLNode();
  EXPECT_EQ(test::ChildTexts(element, {"CDTSETTINGS", "RESOURCES"}), "|");
  EXPECT_EQ(channel->Multiplier(), 1.0);  // materialised
  EXPECT_EQ(channel->Offset() + channel->Max() + channel->Min(), 0.0);
  EXPECT_EQ(test::ChildTexts(element, {"MULTIPLIER", "OFFSET", "MAX"}), "1|(absent)|(absent)");

  channel->InputDataType(7);
  EXPECT_EQ(channel->NumberBytes(), 4);
  channel->InputDataType(6);  // a string keeps its length
  EXPECT_EQ(channel->NumberBytes(), 4);
  channel->InputDataType(3);
  EXPECT_EQ(ChildText(element, "NUMBERBYTES"), "2");
  channel->INPCode("READ 1\r\n\tSCALE 2");
  EXPECT_EQ(ChildText(element, "INPCODE"), "READ 1\\n\\tSCALE 2");
  EXPECT_EQ(channel->INPCode(), "READ 1\r\n\tSCALE 2");
  channel->Virtual(true);
  EXPECT_EQ(ChildText(element, "VIRTUAL"), "-1");
  channel->Max(2.5);
  channel->Max(0);
  EXPECT_EQ(ChildText(element, "MAX"), "(absent)");

  // Given to an instrument channel through the interface, by name too.
  channel->Key("AIN3");
  channel->BaseAddress("0x0104");
  channel->Format("0.000");
  auto instrument = std::make_shared<clsInstChannel>();
  instrument->InputDataType(3);  // signed word keeps its sign on an unsigned-word input
  channel->InputDataType(2);
  instrument->Invoke("LoggerChannel", {ObjectPtr(channel)});
  EXPECT_EQ(test::ChildTexts(instrument->XMLNode(),
                             {"LOGGERCHANNEL", "BASEADDRESS", "INPUTDATATYPE", "FORMAT"}),
            "AIN3|0x0104|3|0.000");

  // Binding another element takes its lists, appending the ones it lacks.
  xml::Node other = ParseNode(
      "<CHANNEL><KEY>X</KEY><RESOURCES><REQUEST><RESOURCE>R</RESOURCE>"
      "</REQUEST></RESOURCES></CHANNEL>");
  channel->XMLNode(other);
  EXPECT_EQ(channel->ResourceList()->Item(1)->Resource(), "R");
  EXPECT_FALSE(other.selectSingleNode("CDTSETTINGS").isNull());
  EXPECT_EQ(channel->Invoke("Key").ToString(), "X");

  auto output = std::make_shared<clsLoggerOutputChannel>();
  output->Invoke("ChannelType", {5});
  EXPECT_EQ(ChildText(output->XMLNode(), "CHANNELTYPE"), "5");
  EXPECT_EQ(test::ChildTexts(output->XMLNode(), {"CDTSETTINGS", "RESOURCES"}), "|");
}

TEST(LoggerChannels, KeysAllocationStateAndUsers) {
  auto logger =
      Logger(Channel("AIN1", 1, 0, 0, {"SE1"}) + Channel("DIFF1", 1, 0, 0, {"SE1", "SE2"}) +
                 Channel("CNT1", 2, 0, 0, {"PULSE1:1"}) +
                 "<CHANNEL><CHANNELTYPE>3</CHANNELTYPE></CHANNEL>",
             "<RESOURCE><KEY>SE1</KEY></RESOURCE><RESOURCE><KEY>SE2</KEY></RESOURCE>"
             "<RESOURCE><KEY>PULSE1</KEY></RESOURCE>"
             "<RESOURCE><KEY>WITHDRAWN</KEY><LOCK>2</LOCK></RESOURCE>");
  auto inputs = logger->InputChannels();
  auto pool = logger->Resources();
  ASSERT_EQ(inputs->Count(), 4);
  EXPECT_EQ(ChildText(inputs->Item(4)->XMLNode(), "KEY"), "(absent)");  // no key on loading

  auto added = std::make_shared<clsLoggerInputChannel>();
  inputs->Add(added, corvale::Index(1));
  EXPECT_EQ(added->Key(), "CHAN_0");
  EXPECT_EQ(inputs->XMLNode().firstChild(), added->XMLNode());
  auto appended = std::make_shared<clsLoggerInputChannel>();
  inputs->Add(appended, std::nullopt, corvale::Index(1));
  EXPECT_EQ(inputs->Item(2)->Key(), "CHAN_1");
  EXPECT_EQ(inputs->XMLNode().lastChild(), appended->XMLNode());
  EXPECT_EQ(ErrorOf([&] {
              inputs->Add(std::make_shared<clsLoggerInputChannel>(
                  ParseNode("<CHANNEL><KEY>ain1</KEY></CHANNEL>")));
            }),
            err::kDuplicateKey);

  EXPECT_FALSE(inputs->Allocate("LOG.A", ""));
  EXPECT_FALSE(inputs->Allocate("LOG.A", "NOPE"));
  EXPECT_TRUE(inputs->Allocate("LOG.A", "AIN1"));
  EXPECT_EQ(inputs->State("AIN1"), channel_state::kUsed);
  EXPECT_EQ(inputs->State("DIFF1"), channel_state::kUsed);
  EXPECT_TRUE(inputs->Allocate("LOG.B", "DIFF1"));  // mode 0 joins
  EXPECT_EQ(inputs->GetUsers("DIFF1")->Count(), 2);
  EXPECT_EQ(inputs->GetUsers("DIFF1")->Item(2), "LOG.B");
  // A user of two of the channel's resources is listed once, with a USER element for each.
  EXPECT_EQ(inputs->GetUsers("DIFF1")->XMLNode().selectNodes("USER").size(), 3u);

  EXPECT_TRUE(inputs->Allocate("", "CNT1"));
  EXPECT_EQ(pool->Item("PULSE1")->Users()->Item(1), "Unknown");
  EXPECT_EQ(inputs->State("CNT1"), channel_state::kUsed | channel_state::kLocked);
  EXPECT_FALSE(inputs->Allocate("LOG.C", "CNT1"));
  inputs->Deallocate("", "CNT1");  // the pool's "UNKNOWN" finds "Unknown"
  EXPECT_EQ(inputs->State("CNT1"), 0);

  inputs->Deallocate("LOG.A");  // every channel
  EXPECT_EQ(pool->Item("SE1")->Users()->Count(), 1);
  EXPECT_EQ(pool->Item("SE2")->Users()->Item(1), "LOG.B");

  inputs->Item("CHAN_0")->ResourceList()->Add([] {
    auto request = std::make_shared<clsLoggerResourceRequest>();
    request->Resource("WITHDRAWN");
    return request;
  }());
  EXPECT_EQ(inputs->State("CHAN_0"), channel_state::kNotAvailable);
  inputs->Item("CHAN_1")->ResourceList()->Add(std::make_shared<clsLoggerResourceRequest>());
  EXPECT_EQ(ErrorOf([&] { inputs->State("CHAN_1"); }), err::kSubscriptOutOfRange);
  EXPECT_EQ(ErrorOf([&] { inputs->GetUsers("NOPE"); }), err::kSubscriptOutOfRange);
  EXPECT_EQ(inputs->Invoke("State", {"DIFF1"}).ToInt32(), 1);

  // The output inventory allocates the same way, from the same pool.
  auto relay = std::make_shared<clsLoggerOutputChannel>();
  relay->ResourceList()->Add([] {
    auto request = std::make_shared<clsLoggerResourceRequest>();
    request->Resource("SE2");
    return request;
  }());
  logger->OutputChannels()->Add(relay);
  EXPECT_EQ(logger->OutputChannels()->State("CHAN_0"), channel_state::kUsed);
  EXPECT_TRUE(logger->OutputChannels()->Invoke("Allocate", {"LOG.D", "CHAN_0"}).ToBool());
  EXPECT_EQ(pool->Item("SE2")->Users()->Count(), 2);
}

TEST(LoggerChannels, NextChannelChoices) {
  auto logger = Logger(Channel("U", 1, 0, 0, {"RU"}) + Channel("A", 1, 0, 10, {"RA"}) +
                           Channel("B", 1, 0, 5, {"RB"}) + Channel("C", 1, 0, 5, {"RC"}) +
                           Channel("M", 5, 0, 0, {"RB:2"}) + Channel("N", 3, 0, 0, {}) +
                           Channel("L", 4, 0, 0, {"RL"}) + Channel("Z", 6, 0, 0, {"NOPE"}),
                       "<RESOURCE><KEY>RU</KEY></RESOURCE><RESOURCE><KEY>RA</KEY></RESOURCE>"
                       "<RESOURCE><KEY>RB</KEY></RESOURCE><RESOURCE><KEY>RC</KEY></RESOURCE>"
                       "<RESOURCE><KEY>RL</KEY><LOCK>2</LOCK></RESOURCE>");
  auto inputs = logger->InputChannels();
  std::ostringstream trace;
  auto traced = [&](int32_t type, std::optional<double> upper, std::optional<double> lower) {
    trace.str("");
    inputs->TraceStream(&trace);
    InputChannelPtr channel = inputs->NextChannel(type, upper, lower);
    inputs->TraceStream(nullptr);
    EXPECT_EQ(channel, inputs->NextChannel(type, upper, lower)) << trace.str();
    return Key(channel);
  };

  // Least slack wins (0..5 against 0..10 for 0..4), the earlier of equals, and a ranged channel
  // beats an earlier one without a range; the trace shows the walk in order.
  EXPECT_EQ(traced(1, 4.0, 0.0), "B");
  EXPECT_EQ(trace.str(),
            "Found channel: U\nNew best match: A\nFound channel: A\nNew best match: B\n"
            "Found channel: B\nFound channel: C\n");
  // No range asked: the first free channel, whatever its range.
  EXPECT_EQ(traced(1, std::nullopt, std::nullopt), "U");
  EXPECT_EQ(traced(1, 0.0, 0.0), "U");
  EXPECT_EQ(traced(1, 4.0, std::nullopt), "U");

  ASSERT_TRUE(inputs->Allocate("I1", "B"));
  EXPECT_EQ(traced(1, 4.0, 0.0), "C");
  ASSERT_TRUE(inputs->Allocate("I2", "C"));
  EXPECT_EQ(traced(1, 4.0, -1.0), "U");  // A's range does not reach -1: U is a candidate
  EXPECT_EQ(traced(1, 4.0, 0.0), "A");
  ASSERT_TRUE(inputs->Allocate("I3", "U"));
  // Nothing free fits 0..100: the search is repeated without a range.
  EXPECT_EQ(traced(1, 100.0, 0.0), "A");
  EXPECT_EQ(trace.str(), "Found channel: A\n");
  ASSERT_TRUE(inputs->Allocate("I4", "A"));
  EXPECT_EQ(traced(1, 100.0, 0.0), "(none)");

  // A "Not Available" request does not mind users; an exclusive lock it does mind.
  EXPECT_EQ(traced(5, std::nullopt, std::nullopt), "M");
  logger->Resources()->Item("RB")->Locked(lock::kExclusive);
  EXPECT_EQ(traced(5, std::nullopt, std::nullopt), "(none)");
  // A withdrawn resource alone leaves the channel free, though State reports it.
  EXPECT_EQ(traced(4, std::nullopt, std::nullopt), "L");
  EXPECT_EQ(inputs->State("L"), channel_state::kNotAvailable);
  // No requests: always free; a resource the pool lacks: never; an unknown type: none.
  ASSERT_TRUE(inputs->Allocate("I5", "N"));
  EXPECT_EQ(traced(3, std::nullopt, std::nullopt), "N");
  EXPECT_EQ(traced(6, std::nullopt, std::nullopt), "(none)");
  EXPECT_EQ(traced(9, 1.0, 0.0), "(none)");

  // Giving back frees the channels again, and edits of ranges and types are followed.
  inputs->Deallocate("I1");
  EXPECT_EQ(traced(1, 4.0, 0.0), "B");
  inputs->Item("C")->Max(4);
  inputs->Deallocate("I2", "C");
  EXPECT_EQ(traced(1, 4.0, 0.0), "C");
  inputs->Item("C")->ChannelType(2);
  EXPECT_EQ(traced(1, 4.0, 0.0), "B");
  EXPECT_EQ(traced(2, 4.0, 0.0), "C");
  logger->Resources()->Item("RB")->Users()->Add("SOMEONE");
  EXPECT_EQ(traced(1, 4.0, 0.0), "(none)");  // B busy, A and U still allocated
  EXPECT_EQ(Key(std::dynamic_pointer_cast<clsLoggerInputChannel>(
                inputs->Invoke("NextChannel", {2, 4.0, 0.0}).ToObject())),
            "C");
}

// The index behind NextChannel against the channel-by-channel walk, on a generated logger
// whose allocations, locks, users, ranges, requests and membership change at random.
TEST(LoggerChannels, NextChannelAgreesWithTheWalkUnderRandomChanges) {
  std::mt19937 random(20240517);
  auto pick = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
  const double ranges[][2] = {{0, 0}, {0, 2.5}, {-100, 100}, {-25, 25}, {0, 10}, {0, 5}, {-5, 5}};
  auto request = [&] {
    const int r = pick(100);
    if (r < 3) return std::string();           // empty Resource
    if (r < 6) return std::string("MISSING");  // not in the pool
    std::string key = "R" + IntegerText(pick(120));
    return r < 12 ? key + ":2" : r < 18 ? key + ":1" : key;
  };
  std::string channels, resources;
  for (int i = 0; i < 300; ++i) {
    const auto& range = ranges[pick(7)];
    std::vector<std::string> requests;
    for (int n = pick(3); n > 0; --n) requests.push_back(request());
    channels += Channel("C" + IntegerText(i), 1 + pick(3), range[0], range[1], requests);
  }
  for (int i = 0; i < 120; ++i)
    resources += "<RESOURCE><KEY>R" + IntegerText(i) + "</KEY>" +
                 (pick(10) == 0 ? "<LOCK>2</LOCK>" : "") + "</RESOURCE>";
  auto logger = Logger(channels, resources);
  auto inputs = logger->InputChannels();
  auto pool = logger->Resources();
  std::ostringstream trace;

  auto someChannel = [&] { return inputs->Item(1 + pick(inputs->Count())); };
  auto someResource = [&] { return pool->Item(1 + pick(pool->Count())); };
  int placed = 0, compared = 0;
  for (int step = 0; step < 3000; ++step) {
    const int type = 1 + pick(3);
    std::optional<double> upper, lower;
    if (pick(4) != 0) {
      const auto& range = ranges[pick(7)];
      lower = range[0] + pick(3);
      upper = range[1] - pick(3);
    }
    InputChannelPtr fast = inputs->NextChannel(type, upper, lower);
    trace.str("");
    inputs->TraceStream(&trace);
    InputChannelPtr walked = inputs->NextChannel(type, upper, lower);
    inputs->TraceStream(nullptr);
    ASSERT_TRUE(fast == walked) << "step " << step << ": " << Key(fast) << " " << Key(walked);
    ++compared;

    const int what = pick(100);
    const std::string user = "I" + IntegerText(pick(40));
    if (what < 45) {
      if (fast && inputs->Allocate(user, fast->Key())) ++placed;
    } else if (what < 55) {
      inputs->Deallocate(user, pick(3) == 0 ? std::string() : someChannel()->Key());
    } else if (what < 62) {
      someResource()->Locked(pick(3));
    } else if (what < 69) {
      auto users = someResource()->Users();
      if (pick(2) == 0 || users->Count() == 0) {
        users->Add(user);
      } else {
        users->Remove(1 + pick(users->Count()));
      }
    } else if (what < 74) {
      auto list = std::make_shared<clsLoggerResourceList>();
      auto wanted = std::make_shared<clsLoggerResourceRequest>();
      wanted->Resource("R" + IntegerText(pick(120)));
      wanted->Locked(pick(3));
      list->Add(wanted);
      if (pick(2) == 0) {
        pool->Allocate(user, list);
      } else {
        pool->Deallocate(user, list);
      }
    } else if (what < 80) {
      auto channel = someChannel();
      const auto& range = ranges[pick(7)];
      channel->Min(range[0]);
      channel->Max(range[1]);
      if (pick(4) == 0) channel->ChannelType(1 + pick(3));
    } else if (what < 86) {
      auto list = someChannel()->ResourceList();
      if (list->Count() > 0 && pick(3) == 0) {
        list->Remove(1 + pick(list->Count()));
      } else if (list->Count() > 0 && pick(2) == 0) {
        auto existing = list->Item(1 + pick(list->Count()));
        existing->Resource("R" + IntegerText(pick(120)));
        existing->Locked(pick(3));
      } else {
        auto added = std::make_shared<clsLoggerResourceRequest>();
        added->Resource("R" + IntegerText(pick(120)));
        list->Add(added);
      }
    } else if (what < 90) {
      auto channel = std::make_shared<clsLoggerInputChannel>(
          ParseNode(Channel("N" + IntegerText(step), 1 + pick(3), 0, 5, {request()})));
      inputs->Add(channel, pick(2) == 0 ? std::optional<corvale::Index>(1 + pick(inputs->Count()))
                                        : std::nullopt);
    } else if (what < 93) {
      if (inputs->Count() > 1) inputs->Remove(1 + pick(inputs->Count()));
    } else if (what < 95) {
      auto resource = std::make_shared<clsLoggerResource>();
      resource->Key("R" + IntegerText(120 + step));
      pool->Add(resource);
    } else if (what < 97) {
      someResource()->XMLNode(
          ParseNode("<RESOURCE><KEY>X</KEY><USERS><USER>" + user + "</USER></USERS></RESOURCE>"));
    } else {
      auto channel = someChannel();
      channel->XMLNode(ParseNode(Channel(channel->Key(), 1 + pick(3), 0, 10, {request()})));
    }
  }
  EXPECT_EQ(compared, 3000);
  EXPECT_GT(placed, 100);
}

}  // namespace
}  // namespace corvale

#include "corvale/scaling/scale_channel.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "corvale/binding/node_access.h"
#include "corvale/core/convert.h"
#include "corvale/core/registry.h"
#include "corvale/instruments/inst_channels.h"
#include "corvale/loggers/logger_defs.h"
#include "tests/support/test_support.h"

namespace corvale {
namespace {

using test::ChildText;

// The members of a scheme that ScaleChannel reaches: its Logger.
class TestScheme : public Object {
 public:
  ObjectPtr logger;
  Variant Invoke(std::string_view member, const Args& args = {}) override {
    if (EqualsNoCase(member, "Logger")) return Variant(logger);
    return Object::Invoke(member, args);
  }
};

std::shared_ptr<TestScheme> SchemeWithLogger() {
  auto loggers = std::make_shared<clsLoggerDefs>();
  EXPECT_TRUE(loggers->Load(test::WriteFile(
      "scale/loggers.xml",
      "<LOGGERS><LOGGER><KEY>L</KEY><INPUTCHANNELS>"
      "<CHANNEL><KEY>AIN1</KEY><MULTIPLIER>0.01</MULTIPLIER><OFFSET>5</OFFSET></CHANNEL>"
      "</INPUTCHANNELS></LOGGER></LOGGERS>")));
  auto scheme = std::make_shared<TestScheme>();
  scheme->logger = loggers->LibraryItem("L");
  return scheme;
}

// An instrument served by ScaleChannel, installed in the scheme, with one channel per SETUP
// text given ("" for a channel without SETUP).
InstrumentPtr ScaledInstrument(const ObjectPtr& scheme, std::initializer_list<std::string> setups,
                               const std::string& extra = "") {
  std::string channels;
  int n = 0;
  for (const std::string& setup : setups) {
    channels += "<CHANNEL><KEY>CHAN_" + std::to_string(n) + "</KEY><ALIAS>Ch" + std::to_string(n) +
                "</ALIAS><MULTIPLIER>3</MULTIPLIER><OFFSET>7</OFFSET>" + "<INPCODE>old</INPCODE>" +
                extra + (setup.empty() ? "" : "<SETUP>" + setup + "</SETUP>") + "</CHANNEL>";
    ++n;
  }
  InstrumentPtr instrument = test::NewInstrument("SC");
  instrument->XMLNode(
      ParseNode("<INSTRUMENT><CATCODE>SC</CATCODE>"
                "<LOADERCLASS>Corvale2.ScaleChannel</LOADERCLASS><CHANNELS>" +
                channels + "</CHANNELS></INSTRUMENT>"));
  instrument->Install(scheme);
  return instrument;
}

constexpr const char* kHead = "; Corvale2.ScaleChannel - Scale to EU\r\n.if pass==INIT_PASS\r\n";

TEST(ScaleChannel, WritesTheScaleLineRunOnceAndResetsTheChannelScaling) {
  auto scheme = SchemeWithLogger();
  InstrumentPtr instrument = ScaledInstrument(
      scheme, {"<ENABLESCALE>-1</ENABLESCALE><MULTIPLIER>0.5</MULTIPLIER><OFFSET>12</OFFSET>"
               "<PRESCALE>2</PRESCALE>"});
  ASSERT_NE(instrument->Loader(), nullptr);
  EXPECT_TRUE(instrument->Load());
  EXPECT_TRUE(instrument->QueryUninstall());
  // The loader has no such members: its instrument's hooks answer false.
  EXPECT_FALSE(instrument->BeforeWrite());
  EXPECT_FALSE(instrument->BeforeCompile());

  EXPECT_TRUE(instrument->Save());
  auto channel = instrument->Channels()->Item(1);
  EXPECT_EQ(channel->INPCode(),
            std::string(kHead) + "\tMorvaScaleChan Ch0,500,1000,12\r\n.endif\r\n");
  EXPECT_EQ(channel->Multiplier(), 2);  // the prescale, no logger channel
  EXPECT_EQ(channel->Offset(), 0);
  // Kept on one line in the element: each line break is written as "\n".
  EXPECT_EQ(ChildText(channel->XMLNode(), "INPCODE"),
            "; Corvale2.ScaleChannel - Scale to EU\\n.if pass==INIT_PASS\\n"
            "\\tMorvaScaleChan Ch0,500,1000,12\\n.endif\\n");

  ObjectPtr loader = CreateObject("Corvale2.ScaleChannel");
  EXPECT_TRUE(loader->Invoke("Load").ToBool());
  EXPECT_EQ(test::ErrorOf([&] { loader->Invoke("BeforeWrite"); }), err::kNotSupported);
}

TEST(ScaleChannel, FoldsTheLoggerChannelScalingUnlessIgnoredOrMissing) {
  auto scheme = SchemeWithLogger();
  const std::string setup =
      "<ENABLESCALE>1</ENABLESCALE><MULTIPLIER>0.5</MULTIPLIER><OFFSET>12</OFFSET>";
  InstrumentPtr instrument =
      ScaledInstrument(scheme, {setup, setup, setup}, "<LOGGERCHANNEL>ain1</LOGGERCHANNEL>");
  auto channels = instrument->Channels();
  channels->Item(2)->IgnoreLoggerScaling(true);
  SetNodeText(channels->Item(3)->XMLNode(), "LOGGERCHANNEL", "NOPE");
  ASSERT_TRUE(instrument->Save());
  // o = 5 x 0.5 + 12 = 14.5 (to 14, ties to even); m = 0.5 x 0.01 = 0.005 (to 5).
  EXPECT_EQ(channels->Item(1)->INPCode(),
            std::string(kHead) + "\tMorvaScaleChan Ch0,5,1000,14\r\n.endif\r\n");
  EXPECT_DOUBLE_EQ(channels->Item(1)->Multiplier(), 100);  // prescale 1 / 0.01
  EXPECT_EQ(channels->Item(2)->Multiplier(), 1);           // ignored: the prescale alone
  EXPECT_NE(channels->Item(2)->INPCode().find("Ch1,5,1000,14"), std::string::npos);
  EXPECT_NE(channels->Item(3)->INPCode().find("Ch2,500,1000,12"), std::string::npos);
  EXPECT_EQ(channels->Item(3)->Multiplier(), 1);

  // Without a scheme logger nothing is folded.
  scheme->logger = nullptr;
  ASSERT_TRUE(instrument->Save());
  EXPECT_NE(channels->Item(1)->INPCode().find("Ch0,500,1000,12"), std::string::npos);
}

TEST(ScaleChannel, RoundsHalvesToEvenAndLeavesUnscaledChannelsAlone) {
  auto scheme = SchemeWithLogger();
  auto enabled = [](const std::string& m, const std::string& o) {
    return "<ENABLESCALE>-1</ENABLESCALE><MULTIPLIER>" + m + "</MULTIPLIER><OFFSET>" + o +
           "</OFFSET>";
  };
  InstrumentPtr instrument = ScaledInstrument(
      scheme, {enabled("0.0004", "2.5"), enabled("0.0625", "-3.5"), enabled("1", "-0.4"),
               enabled("1e9", "0"), "", "<ENABLESCALE>0</ENABLESCALE><MULTIPLIER>5</MULTIPLIER>",
               enabled("1", "0"), "<ENABLESCALE>-1</ENABLESCALE>"});
  ASSERT_TRUE(instrument->Save());
  auto channels = instrument->Channels();
  auto line = [&](int16_t position) {
    const std::string code = channels->Item(position)->INPCode();
    const size_t start = code.find("MorvaScaleChan ");
    return start == std::string::npos
               ? code
               : code.substr(start + 15, code.find('\r', start) - start - 15);
  };
  EXPECT_EQ(line(1), "Ch0,0,1000,2");
  EXPECT_EQ(line(2), "Ch1,62,1000,-4");
  EXPECT_EQ(line(3), "Ch2,1000,1000,0");           // -0.4 rounds to 0, written without a sign
  EXPECT_EQ(line(4), "Ch3,1000000000000,1000,0");  // plain decimal, no exponent
  // Scaling off (absent or 0): the channel stays as it was.
  for (int16_t position : {5, 6}) {
    EXPECT_EQ(channels->Item(position)->INPCode(), "old");
    EXPECT_EQ(channels->Item(position)->Multiplier(), 3);
    EXPECT_EQ(channels->Item(position)->Offset(), 7);
  }
  // On, but 1 and 0 (typed or by default): no code, the channel's own scaling is kept.
  for (int16_t position : {7, 8}) {
    EXPECT_EQ(channels->Item(position)->INPCode(), "");
    EXPECT_EQ(channels->Item(position)->Multiplier(), 3);
    EXPECT_EQ(channels->Item(position)->Offset(), 7);
  }
}

}  // namespace
}  // namespace corvale

#include "corvale/scaling/scale_calculation.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "corvale/binding/node_access.h"
#include "corvale/core/host.h"
#include "tests/support/test_support.h"

namespace corvale {
namespace {

TEST(ScaleCalculation, RangesOrTypedValuesThenCalibrationWithTheOffsetRounded) {
  auto host = std::make_shared<test::RecordingHost>();
  SetHostServices(host);

  // 4-20 mA across 124 ohm (496-2480 mV) measuring 0-10.
  ScaleSettings current{.outputType = 1, .outMin = 4, .outMax = 20, .sensMin = 0, .sensMax = 10};
  ScaleResult result = CalcMultiplier(current);
  EXPECT_TRUE(result.success);
  EXPECT_DOUBLE_EQ(result.multiplier, 10.0 / 1984);
  EXPECT_EQ(result.offset, -2.5);
  current.loadResistor = LoadResistors()[3].ohms;  // 250 ohm: 1000-5000 mV
  EXPECT_DOUBLE_EQ(CalcMultiplier(current).multiplier, 10.0 / 4000);

  // Millivolts as they are; the calibration scales the multiplier and maps the offset.
  ScaleSettings voltage{.outMin = 0,
                        .outMax = 2500,
                        .sensMin = -40,
                        .sensMax = 60,
                        .calMultiplier = 2,
                        .calOffset = 0.5};
  result = CalcMultiplier(voltage);
  EXPECT_DOUBLE_EQ(result.multiplier, 0.08);
  EXPECT_EQ(result.offset, -79.5);

  // Typed in: only the offset is rounded, to 8 places, ties to even at the last place.
  ScaleSettings typed{.mode = ScaleMode::MultOffset,
                      .userMultiplier = 1.0 / 3,
                      .userOffset = 1.0 / 3,
                      .calMultiplier = 3,
                      .calOffset = 0.125};
  result = CalcMultiplier(typed);
  EXPECT_TRUE(result.success);
  EXPECT_DOUBLE_EQ(result.multiplier, 1.0);
  EXPECT_EQ(result.offset, 1.125);
  typed.calMultiplier = 1;
  typed.calOffset = 0;
  EXPECT_EQ(CalcMultiplier(typed).offset, 0.33333333);
  EXPECT_EQ(CalcMultiplier(typed).multiplier, 1.0 / 3);  // not rounded
  typed.userOffset = -0.000000005;                       // half of the last place
  EXPECT_EQ(CalcMultiplier(typed).offset, 0.0);
  EXPECT_TRUE(host->boxes.empty());

  // An empty output range: the two-line message, failure, and the earlier values still
  // calibrated. A type without a range fails the same way.
  ScaleSettings flat{.outMin = 7,
                     .outMax = 7,
                     .sensMax = 1,
                     .calMultiplier = 3,
                     .calOffset = 0.5,
                     .multiplier = 2,
                     .offset = 1};
  result = CalcMultiplier(flat);
  EXPECT_FALSE(result.success);
  EXPECT_EQ(result.multiplier, 6);
  EXPECT_EQ(result.offset, 3.5);
  ASSERT_EQ(host->boxes.size(), 1u);
  EXPECT_EQ(host->boxes[0].text,
            "Unable to calculate multipliers required.\r\n\r\n"
            "Check the sensor Output Minimum and Maximum");
  EXPECT_EQ(host->boxes[0].icon, MsgIcon::Exclamation);
  flat.outputType = 2;
  flat.outMax = 20;
  EXPECT_FALSE(CalcMultiplier(flat).success);
  EXPECT_EQ(host->boxes.size(), 2u);
  SetHostServices(nullptr);

  EXPECT_EQ(OutputTypes()[1].caption, "Current (mA)");
  EXPECT_EQ(OutputTypes()[0].units, "mV");
  ASSERT_EQ(LoadResistors().size(), 4u);
  EXPECT_EQ(LoadResistors()[2].caption, "125 Ohm");
}

TEST(ScaleCalculation, ChannelSettingsReadTheirDefaultsFromTheChannel) {
  clsInstChannel channel;
  channel.Minimum(-5);
  channel.Maximum(45);
  const xml::Node setup = GetSetupNode(channel.XMLNode());
  SetNodeText(setup, "OUTPUTTYPE", "1");
  SetNodeText(setup, "MULTIPLIER", "0.25");
  SetNodeText(setup, "SCALEMODE", "MULT_OFFSET");
  const ScaleSettings settings = ReadScaleSettings(channel);
  EXPECT_EQ(settings.mode, ScaleMode::MultOffset);
  EXPECT_EQ(settings.outMin, 4);  // current output defaults
  EXPECT_EQ(settings.outMax, 20);
  EXPECT_EQ(settings.loadResistor, 124);
  EXPECT_EQ(settings.sensMin, -5);
  EXPECT_EQ(settings.sensMax, 45);
  EXPECT_EQ(settings.userMultiplier, 0.25);  // the current multiplier
  EXPECT_EQ(settings.userOffset, 0);
  // Defaults other than "" and "0" are written back, as every property read does.
  EXPECT_EQ(test::ChildTexts(setup, {"OUTMIN", "SENSMIN", "SENSMAX", "USERMULTIPLIER",
                                     "CALMULTIPLIER", "CALOFFSET"}),
            "4|-5|45|0.25|1|(absent)");
  SetNodeText(setup, "OUTPUTTYPE", "");
  SetNodeText(setup, "OUTMIN", "");
  SetNodeText(setup, "OUTMAX", "");
  EXPECT_EQ(ReadScaleSettings(channel).outMax, 2500);        // voltage output defaults
  EXPECT_EQ(ScaleModeFromText("a_to_b"), ScaleMode::Other);  // compared exactly
}

}  // namespace
}  // namespace corvale

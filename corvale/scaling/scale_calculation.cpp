#include "corvale/scaling/scale_calculation.h"

#include <array>
#include <string>

#include "corvale/binding/node_access.h"
#include "corvale/core/convert.h"
#include "corvale/core/host.h"

namespace corvale {

namespace {

constexpr std::array<OutputType, 2> kOutputTypes = {{
    {0, "Voltage (mV)", "mV"},
    {1, "Current (mA)", "mA"},
}};

constexpr std::array<LoadResistor, 4> kLoadResistors = {{
    {"100 Ohm", 100},
    {"124 Ohm", 124},
    {"125 Ohm", 125},
    {"250 Ohm", 250},
}};

constexpr std::string_view kScaleTitle = "Channel Scaling";
constexpr int kOffsetPlaces = 8;

}  // namespace

std::span<const OutputType> OutputTypes() { return kOutputTypes; }
std::span<const LoadResistor> LoadResistors() { return kLoadResistors; }

ScaleMode ScaleModeFromText(std::string_view text) {
  if (text == "A_TO_B") return ScaleMode::AToB;
  if (text == "MULT_OFFSET") return ScaleMode::MultOffset;
  return ScaleMode::Other;
}

std::string_view ScaleModeText(ScaleMode mode) {
  switch (mode) {
    case ScaleMode::AToB:
      return "A_TO_B";
    case ScaleMode::MultOffset:
      return "MULT_OFFSET";
    case ScaleMode::Other:
      break;
  }
  return "";
}

ScaleResult CalcMultiplier(const ScaleSettings& settings) noexcept {
  ScaleResult result{settings.multiplier, settings.offset, false};
  if (settings.mode == ScaleMode::AToB) {
    double outMin = 0;
    double outMax = 0;
    if (settings.outputType == 0) {
      outMin = settings.outMin;
      outMax = settings.outMax;
    } else if (settings.outputType == 1) {
      // Milliamps through the load resistor give millivolts.
      outMin = settings.outMin * settings.loadResistor;
      outMax = settings.outMax * settings.loadResistor;
    }
    if (outMax - outMin == 0) {
      try {
        Host().MessageBox(kScaleRangeMessage, kScaleTitle, MsgIcon::Exclamation, MsgButtons::OK);
      } catch (...) {
        // The message is all the failure says; a host that cannot show it loses nothing more.
      }
    } else {
      result.multiplier = (settings.sensMax - settings.sensMin) / (outMax - outMin);
      result.offset = settings.sensMin - result.multiplier * outMin;
      result.success = true;
    }
  } else if (settings.mode == ScaleMode::MultOffset) {
    result.multiplier = settings.userMultiplier;
    result.offset = settings.userOffset;
    result.success = true;
  }
  // Calibrated also after a failure: a failed calculation still calibrates what was there.
  result.multiplier *= settings.calMultiplier;
  result.offset =
      RoundToPlaces(settings.calMultiplier * result.offset + settings.calOffset, kOffsetPlaces);
  return result;
}

ScaleSettings ReadScaleSettings(const clsInstChannel& channel) {
  const xml::Node setup = GetSetupNode(channel.XMLNode());
  auto number = [&](std::string_view path, const std::string& defaultText) {
    return TextToDouble(GetNodeText(setup, path, defaultText));
  };
  ScaleSettings settings;
  settings.multiplier = number("MULTIPLIER", "1");
  settings.offset = number("OFFSET", "0");
  settings.outputType = TextToInt32(GetNodeText(setup, "OUTPUTTYPE", "0"));
  const bool current = settings.outputType == 1;
  settings.outMin = number("OUTMIN", current ? "4" : "0");
  settings.outMax = number("OUTMAX", current ? "20" : "2500");
  settings.loadResistor = number("LOADRES", "124");
  settings.sensMin = number("SENSMIN", DoubleText(channel.Minimum()));
  settings.sensMax = number("SENSMAX", DoubleText(channel.Maximum()));
  settings.mode = ScaleModeFromText(GetNodeText(setup, "SCALEMODE", "A_TO_B"));
  settings.userMultiplier = number("USERMULTIPLIER", DoubleText(settings.multiplier));
  settings.userOffset = number("USEROFFSET", DoubleText(settings.offset));
  settings.calMultiplier = number("CALMULTIPLIER", "1");
  settings.calOffset = number("CALOFFSET", "0");
  return settings;
}

}  // namespace corvale

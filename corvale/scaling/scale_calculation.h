// The scaling calculation: the multiplier and offset that turn a channel's reading into
// engineering units, worked out from the range of a sensor's output and the matching range of
// the measured quantity (or typed in), then calibrated. Editors and hosts call it with the
// scaling settings of a channel (the children of its SETUP element) and write the result into
// MULTIPLIER and OFFSET, which ScaleChannel turns into program code.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "corvale/instruments/inst_channel.h"

namespace corvale {

// Sensor output types, as editors offer them (OUTPUTTYPE).
struct OutputType {
  int32_t code;
  std::string_view caption;  // "Voltage (mV)"
  std::string_view units;    // "mV"
};
std::span<const OutputType> OutputTypes();  // 0 voltage in mV, 1 current in mA

// Load (shunt) resistors for a current output, as editors offer them (LOADRES holds the ohms).
struct LoadResistor {
  std::string_view caption;  // "124 Ohm"
  double ohms;
};
std::span<const LoadResistor> LoadResistors();  // 100, 124, 125 and 250 ohms

// SCALEMODE: "A_TO_B" works the scaling out from the ranges, "MULT_OFFSET" takes it as typed
// in. Any other text (compared exactly) calculates nothing.
enum class ScaleMode { AToB, MultOffset, Other };
ScaleMode ScaleModeFromText(std::string_view text);
std::string_view ScaleModeText(ScaleMode mode);  // "" for Other

struct ScaleSettings {
  ScaleMode mode = ScaleMode::AToB;
  int32_t outputType = 0;  // 0 voltage, 1 current; another type has no range
  // The sensor's output range, in millivolts (type 0) or milliamps (type 1).
  double outMin = 0;
  double outMax = 2500;
  double loadResistor = 124;  // ohms, for a current output
  // The quantity range matching outMin..outMax.
  double sensMin = 0;
  double sensMax = 0;
  double userMultiplier = 1;  // ScaleMode::MultOffset
  double userOffset = 0;
  double calMultiplier = 1;  // applied after either mode
  double calOffset = 0;
  // The multiplier and offset before the calculation, which a failed one keeps (calibrated).
  double multiplier = 1;
  double offset = 0;
};

struct ScaleResult {
  double multiplier = 1;
  double offset = 0;  // rounded to 8 decimal places
  bool success = false;
};

// The text of the message box shown when the output range is empty.
inline constexpr std::string_view kScaleRangeMessage =
    "Unable to calculate multipliers required.\r\n\r\nCheck the sensor Output Minimum and Maximum";

// Works out the multiplier and offset. An empty output range (outMax = outMin, or an output
// type without a range) shows kScaleRangeMessage through the host's message box with the
// exclamation icon and fails, keeping the earlier multiplier and offset. In every case the
// calibration is applied last: multiplier x calMultiplier, and offset x calMultiplier +
// calOffset rounded to 8 decimal places (the multiplier is not rounded). Never raises.
ScaleResult CalcMultiplier(const ScaleSettings& settings) noexcept;

// The scaling settings of an instrument channel, read from its SETUP element (created when
// missing). Absent elements read their defaults, which are written back as every property
// read writes them (sparse: "" and "0" leave no trace): OUTMIN and OUTMAX 0 and 2500 for a
// voltage output, 4 and 20 for a current one; LOADRES 124; SENSMIN and SENSMAX the channel's
// Minimum and Maximum; USERMULTIPLIER and USEROFFSET the settings' MULTIPLIER and OFFSET.
ScaleSettings ReadScaleSettings(const clsInstChannel& channel);

}  // namespace corvale

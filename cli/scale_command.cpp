// corvale scale: the multiplier and offset to engineering units for a sensor, from its output
// range and the matching range of the measured quantity (or as typed in), then calibrated:
//
//   corvale scale --output-type mA --out-min 4 --out-max 20 --load 124 --sens-min 0
//                 --sens-max 10 [--cal-mult M --cal-offset O] [--json]
//   corvale scale --mode mult-offset --mult M [--offset O] [--cal-mult M --cal-offset O]
#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "cli/cli_util.h"
#include "cli/commands.h"
#include "corvale/core/convert.h"
#include "corvale/scaling/scale_calculation.h"

namespace corvale::cli {
namespace {

std::optional<double> TakeNumber(std::vector<std::string>& args, std::string_view name) {
  const std::optional<std::string> text = TakeOption(args, name);
  if (!text) return std::nullopt;
  if (!IsNumericText(*text)) throw UsageError(std::string(name) + ": not a number: " + *text);
  return TextToDouble(*text);
}

double Required(std::optional<double> value, std::string_view name) {
  if (!value) throw UsageError(std::string(name) + " is required");
  return *value;
}

int32_t OutputTypeCode(const std::string& text) {
  for (const OutputType& type : OutputTypes()) {
    if (EqualsNoCase(text, type.units) || text == IntegerText(type.code)) return type.code;
  }
  throw UsageError("--output-type: mV or mA, not " + text);
}

}  // namespace

int RunScale(const std::vector<std::string>& arguments) {
  std::vector<std::string> args = arguments;
  const bool json = TakeFlag(args, "--json");
  const std::string mode = TakeOption(args, "--mode").value_or("a-to-b");
  const std::string outputType = TakeOption(args, "--output-type").value_or("mV");
  const auto outMin = TakeNumber(args, "--out-min");
  const auto outMax = TakeNumber(args, "--out-max");
  const auto load = TakeNumber(args, "--load");
  const auto sensMin = TakeNumber(args, "--sens-min");
  const auto sensMax = TakeNumber(args, "--sens-max");
  const auto mult = TakeNumber(args, "--mult");
  const auto offset = TakeNumber(args, "--offset");
  const auto calMult = TakeNumber(args, "--cal-mult");
  const auto calOffset = TakeNumber(args, "--cal-offset");
  RejectUnknownOptions(args);
  if (!args.empty()) throw UsageError("unexpected argument " + args.front());

  ScaleSettings settings;
  settings.calMultiplier = calMult.value_or(1);
  settings.calOffset = calOffset.value_or(0);
  if (EqualsNoCase(mode, "mult-offset")) {
    settings.mode = ScaleMode::MultOffset;
    settings.userMultiplier = Required(mult, "--mult");
    settings.userOffset = offset.value_or(0);
  } else if (EqualsNoCase(mode, "a-to-b")) {
    settings.outputType = OutputTypeCode(outputType);
    const bool current = settings.outputType == 1;
    settings.outMin = outMin.value_or(current ? 4 : 0);
    settings.outMax = outMax.value_or(current ? 20 : 2500);
    settings.loadResistor = load.value_or(124);
    settings.sensMin = Required(sensMin, "--sens-min");
    settings.sensMax = Required(sensMax, "--sens-max");
  } else {
    throw UsageError("--mode: a-to-b or mult-offset, not " + mode);
  }

  // The range message, if any, goes to standard error through the program's message box.
  const ScaleResult result = CalcMultiplier(settings);
  if (json) {
    nlohmann::ordered_json out = {{"success", result.success}};
    out["multiplier"] = result.success ? nlohmann::ordered_json(result.multiplier) : nullptr;
    out["offset"] = result.success ? nlohmann::ordered_json(result.offset) : nullptr;
    std::cout << out.dump(2) << "\n";
  } else if (result.success) {
    std::cout << "Multiplier: " << DoubleText(result.multiplier) << "\n"
              << "Offset: " << DoubleText(result.offset) << "\n";
  }
  return result.success ? kExitOk : kExitFailure;
}

}  // namespace corvale::cli

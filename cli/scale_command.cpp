// corvale scale: the multiplier and offset to engineering units for a sensor, from its output
// range and the matching range of the measured quantity (or as typed in), then calibrated:
//
//   corvale scale --output-type mA --out-min 4 --out-max 20 --load 124 --sens-min 0
//                 --sens-max 10 [--cal-mult M --cal-offset O] [--json]
//   corvale scale --mode mult-offset --mult M [--offset O] [--cal-mult M --cal-offset O]
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "cli/cli_util.h"
#include "cli/command.h"
#include "cli/commands.h"
#include "cli/report.h"
#include "corvale/core/convert.h"
#include "corvale/scaling/scale_calculation.h"

namespace corvale::cli {
namespace {

double Required(const std::optional<double>& value, std::string_view name) {
  if (!value) throw UsageError(std::string(name) + " is required");
  return *value;
}

int32_t OutputTypeCode(const std::string& text) {
  for (const OutputType& type : OutputTypes()) {
    if (EqualsNoCase(text, type.units) || text == IntegerText(type.code)) return type.code;
  }
  throw UsageError("--output-type: mV or mA, not " + text);
}

// The calculation's message box goes into the report, so that it is said once, in both forms.
class ScaleHost : public TerminalHost {
 public:
  ScaleHost() : TerminalHost(false) {}
  MsgAnswer MessageBox(std::string_view text, std::string_view, MsgIcon, MsgButtons) override {
    message = text;
    return MsgAnswer::OK;
  }
  std::string message;
};

void PrintScale(std::ostream& out, const ordered_json& content) {
  if (!content["success"].get<bool>()) return;
  out << "Multiplier: " << Text(content["multiplier"]) << "\n"
      << "Offset: " << Text(content["offset"]) << "\n";
}

}  // namespace

int RunScale(const ScaleOptions& options) {
  ScaleSettings settings;
  settings.calMultiplier = options.calMult;
  settings.calOffset = options.calOffset;
  if (EqualsNoCase(options.mode, "mult-offset")) {
    settings.mode = ScaleMode::MultOffset;
    settings.userMultiplier = Required(options.mult, "--mult");
    settings.userOffset = options.offset.value_or(0);
  } else {
    settings.outputType = OutputTypeCode(options.outputType);
    const bool current = settings.outputType == 1;
    settings.outMin = options.outMin.value_or(current ? 4 : 0);
    settings.outMax = options.outMax.value_or(current ? 20 : 2500);
    settings.loadResistor = options.load.value_or(124);
    settings.sensMin = Required(options.sensMin, "--sens-min");
    settings.sensMax = Required(options.sensMax, "--sens-max");
  }

  auto host = std::make_shared<ScaleHost>();
  SetHostServices(host);
  const ScaleResult result = CalcMultiplier(settings);
  Report report(options.json);
  if (!result.success) {
    // One line on standard error: the box's blank line becomes a blank.
    std::string message = host->message;
    for (std::string_view breakText : {"\r\n\r\n", "\r\n"}) {
      for (size_t at; (at = message.find(breakText)) != std::string::npos;)
        message.replace(at, breakText.size(), " ");
    }
    report.Problem(message, {{"text", host->message}});
  }
  ordered_json content = {{"success", result.success}};
  content["multiplier"] = result.success ? ordered_json(result.multiplier) : ordered_json();
  content["offset"] = result.success ? ordered_json(result.offset) : ordered_json();
  return report.Finish(content, PrintScale);
}

void AddScaleCommand(CLI::App& program) {
  auto options = std::make_shared<ScaleOptions>();
  CLI::App& command = *program.add_subcommand(
      "scale",
      "the multiplier and offset to engineering units for a sensor's output range (or as typed "
      "in), then calibrated");
  command.add_option("--mode", options->mode, "a-to-b (from the ranges) or mult-offset")
      ->check(CLI::IsMember({"a-to-b", "mult-offset"}, CLI::ignore_case));
  command.add_option("--output-type", options->outputType, "mV (voltage) or mA (current)")
      ->check(CLI::IsMember({"mV", "mA", "0", "1"}, CLI::ignore_case));
  command.add_option("--out-min", options->outMin, "the sensor's lowest output");
  command.add_option("--out-max", options->outMax, "the sensor's highest output");
  command.add_option("--load", options->load, "the load resistor in ohms, for a current output");
  command.add_option("--sens-min", options->sensMin, "the quantity at the lowest output");
  command.add_option("--sens-max", options->sensMax, "the quantity at the highest output");
  command.add_option("--mult", options->mult, "the multiplier (mult-offset)");
  command.add_option("--offset", options->offset, "the offset (mult-offset)");
  command.add_option("--cal-mult", options->calMult, "the calibration multiplier");
  command.add_option("--cal-offset", options->calOffset, "the calibration offset");
  AddJsonFlag(command, options->json);
  OnRun(command, [options] { return RunScale(*options); });
}

}  // namespace corvale::cli

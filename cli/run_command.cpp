// corvale run [--marker TEXT] [--timeout S] [--json] -- COMMAND...: runs a tool-chain command
// the way a host runs the logger compiler, through the capture stub, and prints what the runner
// passes on.
#include <unistd.h>

#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "cli/cli_util.h"
#include "cli/command.h"
#include "cli/commands.h"
#include "cli/report.h"
#include "corvale/process/exe.h"

namespace corvale::cli {
namespace {

// Text goes out piece by piece as it arrives, since following a long compile is the point; the
// JSON document keeps the same pieces and comes at the end.
class OutputListener : public ProcessListener {
 public:
  explicit OutputListener(bool json) : json_(json) {}
  void RedirOutput(std::string_view text) override {
    if (json_) {
      pieces.push_back(std::string(text));
    } else {
      std::cout << text << std::flush;
    }
  }
  ordered_json pieces = ordered_json::array();

 private:
  bool json_;
};

}  // namespace

int RunRun(const RunOptions& options) {
  Report report(options.json);
  std::string commandLine;
  for (const std::string& word : options.command)
    commandLine += (commandLine.empty() ? "" : " ") + word;
  const std::string stub = StubPath();
  if (access(stub.c_str(), X_OK) != 0) {
    report.Problem("the capture stub " + Printable(stub) +
                   " is missing or cannot be run (set CORVALE_HOME to its folder)");
    return report.Finish(nullptr, {});
  }
  clsEXE exe;
  auto output = std::make_shared<OutputListener>(options.json);
  exe.Listener(output);
  exe.RedirectDOSEXE(commandLine, options.marker, options.timeout);
  ordered_json content = {{"command", commandLine},
                          {"marker", options.marker},
                          {"timeout", options.timeout},
                          {"output", std::move(output->pieces)}};
  return report.Finish(options.json ? std::move(content) : ordered_json(), {});
}

void AddRunCommand(CLI::App& program) {
  auto options = std::make_shared<RunOptions>();
  CLI::App& command = *program.add_subcommand(
      "run",
      "run a tool-chain command through the capture stub and print its output from the marker "
      "on; S seconds without output end it");
  command.add_option("--marker", options->marker, "print from the first TEXT on (any case)")
      ->type_name("TEXT");
  command.add_option("--timeout", options->timeout, "seconds without output that end it (0: none)")
      ->type_name("S");
  command.add_option("COMMAND", options->command, "the command (put -- before it)")->required();
  AddJsonFlag(command, options->json);
  OnRun(command, [options] { return RunRun(*options); });
}

}  // namespace corvale::cli

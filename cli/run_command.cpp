// corvale run [--marker TEXT] [--timeout S] [--json] -- COMMAND...: runs a tool-chain command
// the way a host runs the logger compiler, through the capture stub, and prints what the runner
// passes on, piece by piece as it arrives.
#include <unistd.h>

#include <charconv>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "cli/cli_util.h"
#include "cli/commands.h"
#include "corvale/process/exe.h"

namespace corvale::cli {
namespace {

struct RunOptions {
  std::string command;
  std::string marker;
  int32_t timeout = 0;
  bool json = false;
};

// One piece of passed-on output: as it is, or as one JSON line {"output": ...}.
void ReportPiece(std::ostream& out, std::string_view piece, bool json) {
  if (json) {
    out << nlohmann::json{{"output", piece}}.dump(-1, ' ', false,
                                                  nlohmann::json::error_handler_t::replace)
        << "\n";
  } else {
    out << piece;
  }
  out.flush();
}

class PrintingListener : public ProcessListener {
 public:
  PrintingListener(std::ostream& out, bool json) : out_(out), json_(json) {}
  void RedirOutput(std::string_view text) override { ReportPiece(out_, text, json_); }

 private:
  std::ostream& out_;
  bool json_;
};

RunOptions ParseRunOptions(const std::vector<std::string>& arguments) {
  std::vector<std::string> options = arguments, words;
  for (size_t i = 0; i < arguments.size(); ++i) {
    if (arguments[i] != "--") continue;
    options.assign(arguments.begin(), arguments.begin() + static_cast<std::ptrdiff_t>(i));
    words.assign(arguments.begin() + static_cast<std::ptrdiff_t>(i) + 1, arguments.end());
    break;
  }
  RunOptions run;
  run.json = TakeFlag(options, "--json");
  run.marker = TakeOption(options, "--marker").value_or("");
  if (const auto timeout = TakeOption(options, "--timeout")) {
    const char* end = timeout->data() + timeout->size();
    if (std::from_chars(timeout->data(), end, run.timeout).ptr != end || timeout->empty())
      throw UsageError("--timeout takes whole seconds");
  }
  RejectUnknownOptions(options);
  words.insert(words.begin(), options.begin(), options.end());
  if (words.empty()) throw UsageError("give the COMMAND to run");
  for (const std::string& word : words) run.command += (run.command.empty() ? "" : " ") + word;
  return run;
}

}  // namespace

int RunRun(const std::vector<std::string>& args) {
  const RunOptions run = ParseRunOptions(args);
  const std::string stub = StubPath();
  if (access(stub.c_str(), X_OK) != 0) {
    std::cerr << "corvale run: the capture stub " << stub
              << " is missing or cannot be run (set CORVALE_HOME to its folder)\n";
    return kExitFailure;
  }
  clsEXE exe;
  exe.Listener(std::make_shared<PrintingListener>(std::cout, run.json));
  exe.RedirectDOSEXE(run.command, run.marker, run.timeout);
  return kExitOk;
}

}  // namespace corvale::cli

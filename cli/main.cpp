// The corvale program: one table of commands, each in its own file.
#include <cstring>
#include <exception>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include "cli/cli_util.h"
#include "cli/commands.h"

#ifndef CORVALE_VERSION
#define CORVALE_VERSION "unknown"
#endif

namespace {

using corvale::cli::kExitOk;
using corvale::cli::kExitUsage;

struct Command {
  const char* name;
  int (*run)(const std::vector<std::string>& args);
  const char* help;  // arguments, two blanks, what the command does
};

// Keep one line per command; `corvale --help` lists them in this order.
constexpr Command kCommands[] = {
    {"check", corvale::cli::RunCheck,
     "FILE...  load XML documents; print root, encoding and element count, or where they break"},
    {"instrument", corvale::cli::RunInstrument,
     "FILE [CATCODE]  list the instruments of a document, or print one in full"},
    {"library", corvale::cli::RunLibrary,
     "FILE [CATCODE] | register APP SECTION LIBRARY | startup APP SECTION  list a library or "
     "show one instrument; add to or print the start-up list of libraries"},
    {"loggers", corvale::cli::RunLoggers,
     "FILE [KEY] [--json]  list the logger definitions of a file, or show one in full with its "
     "resources and channels"},
    {"merge", corvale::cli::RunMerge,
     "MERGEFILE --target-file LIBRARYFILE [--yes]  merge an extension module into a library"},
    {"run", corvale::cli::RunRun,
     "[--marker TEXT] [--timeout S] [--json] -- COMMAND...  run a tool-chain command through the "
     "capture stub and print its output from the marker on; S seconds without output end it"},
};

void PrintUsage(std::ostream& out) {
  out << "usage: corvale COMMAND [ARGUMENTS]\n"
         "       corvale --help | --version\n"
         "       corvale COMMAND --help\n\ncommands:\n";
  for (const Command& command : kCommands) {
    std::string_view help = command.help;
    const size_t gap = help.find("  ");
    out << "  " << command.name << " " << help.substr(0, gap) << "\n";
    if (gap != std::string_view::npos) out << "      " << help.substr(gap + 2) << "\n";
  }
}

void PrintCommandUsage(std::ostream& out, const Command& command) {
  std::string_view help = command.help;
  const size_t gap = help.find("  ");
  out << "usage: corvale " << command.name << " " << help.substr(0, gap) << "\n";
  if (gap != std::string_view::npos) out << "  " << help.substr(gap + 2) << "\n";
}

const Command* FindCommand(std::string_view name) {
  for (const Command& command : kCommands) {
    if (name == command.name) return &command;
  }
  return nullptr;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  if (args.empty()) {
    PrintUsage(std::cerr);
    return kExitUsage;
  }
  const std::string& first = args.front();
  if (first == "--help" || first == "-h" || first == "help") {
    PrintUsage(std::cout);
    return kExitOk;
  }
  if (first == "--version") {
    std::cout << "corvale " << CORVALE_VERSION << "\n";
    return kExitOk;
  }
  const Command* command = FindCommand(first);
  if (!command) {
    std::cerr << "corvale: unknown command '" << first << "'\n";
    PrintUsage(std::cerr);
    return kExitUsage;
  }
  args.erase(args.begin());
  if (!args.empty() && (args.front() == "--help" || args.front() == "-h")) {
    PrintCommandUsage(std::cout, *command);
    return kExitOk;
  }

  // Questions go to the terminal, and are refused when no one is there to answer.
  corvale::cli::UseTerminalHost(false);
  try {
    return command->run(args);
  } catch (const corvale::cli::UsageError& error) {
    std::cerr << "corvale " << command->name << ": " << error.what() << "\n";
    PrintCommandUsage(std::cerr, *command);
    return kExitUsage;
  } catch (...) {
    return corvale::cli::ReportFailure(std::current_exception());
  }
}

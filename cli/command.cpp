#include "cli/command.h"

#include <exception>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "cli/cli_util.h"

#ifndef CORVALE_VERSION
#define CORVALE_VERSION "unknown"
#endif

namespace corvale::cli {
namespace {

// The command chosen while parsing; it runs once parsing is done, so that a usage error never
// leaves an operation half done.
std::function<int()>& Chosen() {
  static std::function<int()> chosen;
  return chosen;
}

bool IsHelpOrVersion(const CLI::Option* option) {
  const std::string name = option->get_name();
  return name == "--help" || name == "--version";
}

// "FILE [CATCODE] [--json]": operands first, then options, then nested commands as
// alternatives ("| register APP SECTION LIBRARY").
std::string Synopsis(const CLI::App* app) {
  std::vector<std::string> parts;
  for (const CLI::Option* option : app->get_options()) {
    if (!option->get_positional()) continue;
    std::string name = option->get_name(true);
    if (option->get_items_expected_max() > 1) name += "...";
    parts.push_back(option->get_required() ? name : "[" + name + "]");
  }
  for (const CLI::Option* option : app->get_options()) {
    if (option->get_positional() || IsHelpOrVersion(option)) continue;
    std::string name = option->get_name();
    if (!option->get_type_name().empty()) name += " " + option->get_type_name();
    parts.push_back(option->get_required() ? name : "[" + name + "]");
  }
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : " ") + part;
  for (const CLI::App* sub : app->get_subcommands({})) {
    text += (text.empty() ? "" : " | ") + sub->get_name() + " " + Synopsis(sub);
  }
  return text;
}

// "corvale library register" for a nested command.
std::string Path(const CLI::App* app) {
  std::string path = app->get_name();
  for (const CLI::App* parent = app->get_parent(); parent; parent = parent->get_parent())
    path = parent->get_name() + " " + path;
  return path;
}

// The old short layout: usage line, what the command does, then CLI11's lists of operands,
// options and commands.
class Formatter : public CLI::Formatter {
 public:
  std::string make_usage(const CLI::App* app, std::string) const override {
    if (!app->get_parent()) {
      return "usage: corvale COMMAND [ARGUMENTS]\n"
             "       corvale --help | --version\n"
             "       corvale COMMAND --help\n";
    }
    return "usage: " + Path(app) + " " + Synopsis(app) + "\n";
  }
  std::string make_description(const CLI::App* app) const override {
    if (!app->get_parent() || app->get_description().empty()) return "";
    return "  " + app->get_description() + "\n";
  }
  std::string make_subcommands(const CLI::App* app, CLI::AppFormatMode) const override {
    std::string out;
    for (const CLI::App* sub : app->get_subcommands({})) out += make_subcommand(sub);
    return out.empty() ? "" : "\ncommands:\n" + out;
  }
  std::string make_subcommand(const CLI::App* sub) const override {
    return "  " + sub->get_name() + " " + Synopsis(sub) + "\n      " + sub->get_description() +
           "\n";
  }
  std::string make_help(const CLI::App* app, std::string name,
                        CLI::AppFormatMode mode) const override {
    return make_usage(app, name) + make_description(app) + make_positionals(app) +
           make_groups(app, mode) + make_subcommands(app, mode);
  }
};

// The command the user chose, however deep: its usage goes with a usage error.
const CLI::App* Deepest(const CLI::App& app) {
  const CLI::App* deepest = &app;
  for (std::vector<const CLI::App*> chosen = deepest->get_subcommands({});;) {
    const CLI::App* next = nullptr;
    for (const CLI::App* sub : chosen)
      if (sub->parsed()) next = sub;
    if (!next) return deepest;
    deepest = next;
    chosen = deepest->get_subcommands({});
  }
}

int UsageFailure(const CLI::App& program, const std::string& message, int argc,
                 const char* const* argv) {
  const CLI::App* command = Deepest(program);
  if (command == &program) {
    const std::string first = argc > 1 ? argv[1] : "";
    bool known = false;
    for (const CLI::App* sub : program.get_subcommands({})) known |= sub->check_name(first);
    if (!first.empty() && first[0] != '-' && !known)
      std::cerr << "corvale: unknown command '" << first << "'\n";
    else if (argc > 1)
      std::cerr << "corvale: " << message << "\n";
  } else {
    std::cerr << Path(command) << ": " << message << "\n";
  }
  std::cerr << Formatter().make_usage(command, "");
  return kExitUsage;
}

}  // namespace

void OnRun(CLI::App& command, std::function<int()> run) {
  command.callback([&command, run = std::move(run)] {
    // A nested command that was chosen runs instead of this one.
    for (const CLI::App* sub : command.get_subcommands({}))
      if (sub->parsed()) return;
    Chosen() = run;
  });
}

void AddJsonFlag(CLI::App& command, bool& json) {
  command.add_flag("--json", json, "print one JSON document with the same content");
}

void SetUpProgram(CLI::App& program) {
  program.name("corvale");
  program.formatter(std::make_shared<Formatter>());
  program.set_version_flag("--version", "corvale " CORVALE_VERSION, "print the version and exit");
  program.require_subcommand(1);
}

int RunProgram(CLI::App& program, int argc, const char* const* argv) {
  Chosen() = nullptr;
  try {
    program.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    std::cout << program.help();
    return kExitOk;
  } catch (const CLI::CallForVersion& version) {
    std::cout << version.what() << "\n";
    return kExitOk;
  } catch (const CLI::ParseError& error) {
    return UsageFailure(program, error.what(), argc, argv);
  }
  if (!Chosen()) return UsageFailure(program, "no command given", argc, argv);

  // Questions go to the terminal, and are refused when no one is there to answer.
  UseTerminalHost(false);
  try {
    return Chosen()();
  } catch (const UsageError& error) {
    return UsageFailure(program, error.what(), argc, argv);
  } catch (const CLI::ParseError& error) {
    return UsageFailure(program, error.what(), argc, argv);
  } catch (...) {
    return ReportFailure(std::current_exception());
  }
}

}  // namespace corvale::cli

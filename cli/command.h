// How a command joins the corvale program.
//
// A command lives in cli/<name>_command.cpp with a plain options struct and a function that
// does the work and returns the exit status, and registers itself with one function:
//
//   void AddCheckCommand(CLI::App& program) {
//     auto options = std::make_shared<CheckOptions>();
//     CLI::App& command = *program.add_subcommand("check", "load XML documents; ...");
//     command.add_option("FILE", options->files, "the documents")->required();
//     AddJsonFlag(command, options->json);
//     OnRun(command, [options] { return RunCheck(*options); });
//   }
//
// main.cpp calls each Add...Command once; usage lines, --help, option checks and their messages
// come from CLI11. Exit statuses: 0 success, 1 the operation failed, 2 a usage error.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>

namespace corvale::cli {

// What the command (or nested command) does when it is the one chosen on the command line.
void OnRun(CLI::App& command, std::function<int()> run);

// --json: print one JSON document with the content of the text output.
void AddJsonFlag(CLI::App& command, bool& json);

// The corvale program with its help layout and --version, ready for commands to be added.
void SetUpProgram(CLI::App& program);

// Parses the command line and runs the chosen command: its status, 2 (with the command's usage
// on standard error) for a usage error, 1 (with the error) for a failure that escaped it.
int RunProgram(CLI::App& program, int argc, const char* const* argv);

}  // namespace corvale::cli

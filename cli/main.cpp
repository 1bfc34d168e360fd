// The corvale program: each command registers itself from its own file (see cli/command.h).
#include <CLI/CLI.hpp>

#include "cli/command.h"
#include "cli/commands.h"

int main(int argc, char** argv) {
  CLI::App program;
  corvale::cli::SetUpProgram(program);
  // `corvale --help` lists the commands in this order.
  corvale::cli::AddCheckCommand(program);
  corvale::cli::AddInstrumentCommand(program);
  corvale::cli::AddLibraryCommand(program);
  corvale::cli::AddLoggersCommand(program);
  corvale::cli::AddMergeCommand(program);
  return corvale::cli::RunProgram(program, argc, argv);
}

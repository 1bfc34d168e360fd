// The commands of the corvale program. Each has a plain options struct, a Run function that
// returns the exit status (0 success, 1 the operation failed, 2 a usage error) and an Add
// function that registers it with CLI11 (see cli/command.h); main.cpp calls the Add functions.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace corvale::cli {

struct CheckOptions {
  std::vector<std::string> files;
  bool json = false;
};
int RunCheck(const CheckOptions& options);
void AddCheckCommand(CLI::App& program);

struct InstrumentOptions {
  std::string file;
  std::string catCode;  // empty: list them all
  bool json = false;
};
int RunInstrument(const InstrumentOptions& options);
void AddInstrumentCommand(CLI::App& program);

struct LibraryOptions {
  std::string file;
  std::string catCode;  // empty: list the library
  bool json = false;
};
struct StartupListOptions {
  std::string app, section;
  std::string library;  // register: the library to add
  bool json = false;
};
int RunLibrary(const LibraryOptions& options);
int RunRegisterLibrary(const StartupListOptions& options);
int RunStartupList(const StartupListOptions& options);
void AddLibraryCommand(CLI::App& program);

struct LoggersOptions {
  std::string file;
  std::string key;  // empty: list them all
  bool json = false;
};
int RunLoggers(const LoggersOptions& options);
void AddLoggersCommand(CLI::App& program);

struct MergeOptions {
  std::string mergeFile;
  std::string targetFile;
  bool yes = false;
  bool json = false;
};
int RunMerge(const MergeOptions& options);
void AddMergeCommand(CLI::App& program);

}  // namespace corvale::cli

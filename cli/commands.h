// The commands of the corvale program. Each has a plain options struct, a Run function that
// returns the exit status (0 success, 1 the operation failed, 2 a usage error) and an Add
// function that registers it with CLI11 (see cli/command.h); main.cpp calls the Add functions.
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
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

struct ScaleOptions {
  std::string mode = "a-to-b";  // or "mult-offset"
  std::string outputType = "mV";
  std::optional<double> outMin, outMax, load, sensMin, sensMax;
  std::optional<double> mult, offset;
  double calMult = 1, calOffset = 0;
  bool json = false;
};
int RunScale(const ScaleOptions& options);
void AddScaleCommand(CLI::App& program);

// The templates and the systems command.
struct KeyedFileOptions {
  std::string file;
  std::string key;  // empty: list them all
  bool json = false;
};
int RunSystems(const KeyedFileOptions& options);
void AddSystemsCommand(CLI::App& program);
int RunTemplates(const KeyedFileOptions& options);
void AddTemplatesCommand(CLI::App& program);
struct SchemeNewOptions {
  std::string scheme, loggers, logger;
  std::vector<std::string> libraries;
  bool json = false;
};
struct SchemeAddOptions {
  std::string scheme, catCode;
  std::string library;  // empty: the first library that has the code
  std::string before, after;
  bool json = false;
};
struct SchemeRemoveOptions {
  std::string scheme, key;
  bool json = false;
};
struct SchemeShowOptions {
  std::string scheme;
  bool json = false;
};
struct SchemeCompileOptions {
  std::string scheme;
  std::string output;  // empty: the listing goes to standard output
  bool json = false;
};
int RunSchemeNew(const SchemeNewOptions& options);
int RunSchemeAdd(const SchemeAddOptions& options);
int RunSchemeRemove(const SchemeRemoveOptions& options);
int RunSchemeShow(const SchemeShowOptions& options);
int RunSchemeCompile(const SchemeCompileOptions& options);
void AddSchemeCommand(CLI::App& program);
struct RunOptions {
  std::vector<std::string> command;  // joined by blanks into one command line
  std::string marker;                // empty: print everything
  int32_t timeout = 0;               // idle seconds; 0: none
  bool json = false;
};
int RunRun(const RunOptions& options);
void AddRunCommand(CLI::App& program);

}  // namespace corvale::cli

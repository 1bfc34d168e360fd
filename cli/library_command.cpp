// corvale library: list a library file or show one of its instruments, and keep
// the start-up list of libraries.
#include <iostream>
#include <string>
#include <vector>

#include "cli/cli_util.h"
#include "cli/commands.h"
#include "cli/instrument_printer.h"
#include "cli/library_report.h"
#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/libraries/register_library.h"
#include "corvale/libraries/xml_instruments.h"

namespace corvale::cli {
namespace {

void PrintStartupList(const std::string &app, const std::string &section) {
  for (const std::string &entry : clsRegisterLibrary::StartupList(app, section)) {
    std::cout << entry << "\n";
  }
}

int Register(const std::vector<std::string> &args) {
  if (args.size() != 4) throw UsageError("register takes APP SECTION LIBRARY");
  const std::string &library = args[3];
  clsRegisterLibrary::AddToStartupList(args[1], args[2], library);
  PrintStartupList(args[1], args[2]);
  if (!WildcardMatch(library, "*.*")) {
    std::cerr << "corvale library: " << library
              << " is no library class or file name (it has no \".\"); nothing "
                 "was added\n";
    return kExitFailure;
  }
  return kExitOk;
}

int Startup(const std::vector<std::string> &args) {
  if (args.size() != 3) throw UsageError("startup takes APP SECTION");
  PrintStartupList(args[1], args[2]);
  return kExitOk;
}

int List(const std::string &path, XMLInstruments &library) {
  int status = kExitOk;
  std::cout << "Library: " << library.Name() << "\n"
            << "Provider: " << library.Provider() << "\n"
            << "Version: " << SingleText(library.Version()) << "\n";
  if (!library.Description().empty()) std::cout << "Description: " << library.Description() << "\n";
  std::cout << "Instruments: " << library.Count() << "\n";
  for (int16_t i = 1; i <= library.Count(); ++i) {
    try {
      InstrumentPtr instrument = library.Item(i);
      std::cout << "  ";
      PrintInstrumentSummary(std::cout, *instrument);
    } catch (const Error &error) {
      std::cout << "  (instrument " << i << " cannot be shown)\n";
      std::cerr << path << ": instrument " << i << ": error " << error.number() << ": "
                << error.description() << "\n";
      status = kExitFailure;
    }
  }
  return status;
}

int Show(const std::string &path, XMLInstruments &library, const std::string &catCode) {
  InstrumentPtr instrument = library.Item(catCode);
  if (!instrument) {
    std::cerr << path << ": no instrument with the catalogue code \"" << catCode << "\"\n";
    return kExitFailure;
  }
  PrintInstrument(std::cout, *instrument);
  return kExitOk;
}

}  // namespace

int RunLibrary(const std::vector<std::string> &arguments) {
  std::vector<std::string> args = arguments;
  RejectUnknownOptions(args);
  if (args.empty()) throw UsageError("no FILE given");
  if (args[0] == "register") return Register(args);
  if (args[0] == "startup") return Startup(args);
  if (args.size() > 2) throw UsageError("too many arguments");

  const std::string &path = args[0];
  XMLInstruments library;
  if (!LoadLibraryFile(path, library)) return kExitFailure;
  const bool duplicates = ReportDuplicateCodes(path, library) > 0;
  const int status = args.size() == 2 ? Show(path, library, args[1]) : List(path, library);
  return duplicates ? kExitFailure : status;
}

}  // namespace corvale::cli

// corvale library: list a library file or show one of its instruments, and keep the start-up
// list of libraries.
#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/cli_util.h"
#include "cli/command.h"
#include "cli/commands.h"
#include "cli/instrument_printer.h"
#include "cli/library_report.h"
#include "cli/report.h"
#include "corvale/binding/node_access.h"
#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/libraries/register_library.h"
#include "corvale/libraries/xml_instruments.h"

namespace corvale::cli {
namespace {

ordered_json StartupList(const StartupListOptions& options) {
  return {{"app", options.app},
          {"section", options.section},
          {"libraries", clsRegisterLibrary::StartupList(options.app, options.section)}};
}

void PrintStartupList(std::ostream& out, const ordered_json& content) {
  for (const auto& entry : content["libraries"]) out << Text(entry) << "\n";
}

// The instrument as the library hands it out (its class named by BASECLASS), read into JSON.
ordered_json ReadItem(XMLInstruments& library, const Index& index, bool full, std::string& where) {
  InstrumentPtr instrument = library.Item(index);
  if (!instrument) return nullptr;
  return full ? InstrumentDetails(*instrument, where) : InstrumentSummary(*instrument, where);
}

void PrintList(std::ostream& out, const ordered_json& content) {
  out << "Library: " << Text(content["library"]) << "\n"
      << "Provider: " << Text(content["provider"]) << "\n"
      << "Version: " << Text(content["version"]) << "\n";
  if (!Text(content["description"]).empty())
    out << "Description: " << Text(content["description"]) << "\n";
  out << "Instruments: " << Text(content["count"]) << "\n";
  for (const auto& instrument : content["instruments"]) {
    out << "  ";
    PrintInstrumentSummary(out, instrument);
  }
}

int List(Report& report, const std::string& path, XMLInstruments& library) {
  const size_t count = InstrumentCount(report, path, library);
  ordered_json content = {{"file", path},
                          {"library", library.Name()},
                          {"provider", library.Provider()},
                          {"version", TextToDouble(SingleText(library.Version()))},
                          {"description", library.Description()},
                          {"count", count}};
  ordered_json& list = content["instruments"] = ordered_json::array();
  const std::vector<xml::Node> elements = library.XMLNode().selectNodes("INSTRUMENT");
  // Beyond 32,767 the model cannot reach an instrument by its position.
  const auto reachable = static_cast<int>(std::min<size_t>(count, INT16_MAX));
  for (int i = 1; i <= reachable; ++i) {
    auto instrument = ReadInstrument(report, path, elements[i - 1], i, [&](std::string& where) {
      return ReadItem(library, static_cast<int16_t>(i), false, where);
    });
    if (instrument && !instrument->is_null()) list.push_back(std::move(*instrument));
  }
  return report.Finish(std::move(content), PrintList);
}

int Show(Report& report, const std::string& path, XMLInstruments& library,
         const std::string& catCode) {
  // Look-ups by code find the first instrument holding it.
  const std::vector<xml::Node> elements = library.XMLNode().selectNodes("INSTRUMENT");
  size_t position = 1;
  while (position <= elements.size() &&
         !EqualsNoCase(GetNodeText(elements[position - 1], "CATCODE", ""), catCode))
    ++position;
  std::optional<ordered_json> details;
  if (position <= elements.size()) {
    details =
        ReadInstrument(report, path, elements[position - 1], position,
                       [&](std::string& where) { return ReadItem(library, catCode, true, where); });
  }
  if (details && details->is_null()) details.reset();
  if (position > elements.size() || (!details && !report.Failed())) {
    report.Problem(Printable(path) + ": no instrument with the catalogue code \"" + catCode + "\"",
                   {{"file", path}, {"instrument", catCode}});
  }
  return report.Finish(details ? std::move(*details) : ordered_json(), PrintInstrument);
}

}  // namespace

int RunLibrary(const LibraryOptions& options) {
  Report report(options.json);
  return report.Guard(options.file, [&] {
    XMLInstruments library;
    if (!LoadLibraryFile(report, options.file, library)) return report.Finish(nullptr, {});
    ReportDuplicateCodes(report, options.file, library);
    return options.catCode.empty() ? List(report, options.file, library)
                                   : Show(report, options.file, library, options.catCode);
  });
}

int RunRegisterLibrary(const StartupListOptions& options) {
  Report report(options.json);
  return report.Guard("", [&] {
    try {
      clsRegisterLibrary::AddToStartupList(options.app, options.section, options.library);
    } catch (const Error& error) {
      // The list stays as it was; it is still printed below.
      report.Problem("corvale library register", error,
                     {{"app", options.app}, {"section", options.section}});
    }
    if (!WildcardMatch(options.library, "*.*")) {
      report.Problem("corvale library: " + Printable(options.library) +
                         " is no library class or file name (it has no \".\"); nothing was added",
                     {{"library", options.library}});
    }
    return report.Finish(StartupList(options), PrintStartupList);
  });
}

int RunStartupList(const StartupListOptions& options) {
  return Report(options.json).Finish(StartupList(options), PrintStartupList);
}

void AddLibraryCommand(CLI::App& program) {
  auto options = std::make_shared<LibraryOptions>();
  CLI::App& command = *program.add_subcommand(
      "library",
      "list a library or show one instrument; add to or print the start-up list of libraries");
  command.add_option("FILE", options->file, "the library file");
  command.add_option("CATCODE", options->catCode, "the catalogue code of the one to show");
  AddJsonFlag(command, options->json);
  OnRun(command, [options] {
    if (options->file.empty()) throw UsageError("FILE is required");
    return RunLibrary(*options);
  });

  auto list = std::make_shared<StartupListOptions>();
  CLI::App& add = *command.add_subcommand("register", "add a library to the start-up list");
  add.add_option("APP", list->app)->required();
  add.add_option("SECTION", list->section)->required();
  add.add_option("LIBRARY", list->library, "a library file or class name")->required();
  AddJsonFlag(add, list->json);
  OnRun(add, [list] { return RunRegisterLibrary(*list); });

  CLI::App& show = *command.add_subcommand("startup", "print the start-up list of libraries");
  show.add_option("APP", list->app)->required();
  show.add_option("SECTION", list->section)->required();
  AddJsonFlag(show, list->json);
  OnRun(show, [list] { return RunStartupList(*list); });
}

}  // namespace corvale::cli

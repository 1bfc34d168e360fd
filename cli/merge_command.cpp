// corvale merge: merge an extension module's merge file into a library file.
#include <memory>
#include <ostream>
#include <string>

#include "cli/cli_util.h"
#include "cli/command.h"
#include "cli/commands.h"
#include "cli/library_report.h"
#include "cli/report.h"
#include "corvale/core/atomic_file.h"
#include "corvale/core/convert.h"
#include "corvale/core/registry.h"
#include "corvale/libraries/libraries.h"
#include "corvale/libraries/xml_instruments.h"
#include "corvale/libraries/xml_merge_instruments.h"

namespace corvale::cli {
namespace {

double Number(float version) { return TextToDouble(SingleText(version)); }

void PrintMerged(std::ostream& out, const ordered_json& content) {
  for (const auto& change : content["added"]) {
    out << "added " << Text(change["catCode"]) << " \"" << Text(change["name"]) << "\" version "
        << Text(change["version"]) << "\n";
  }
  for (const auto& change : content["replaced"]) {
    out << "replaced " << Text(change["catCode"]) << " \"" << Text(change["name"]) << "\" version "
        << Text(change["oldVersion"]) << " -> " << Text(change["version"]) << "\n";
  }
  if (content["added"].empty() && content["replaced"].empty())
    out << "nothing to merge: every instrument is there in the same or a newer version\n";
  out << "saved " << Printable(Text(content["targetFile"])) << " (" << Text(content["instruments"])
      << " instruments)\n";
}

}  // namespace

int RunMerge(const MergeOptions& options) {
  Report report(options.json);
  return report.Guard(options.targetFile, [&] {
    const std::string& mergeFile = options.mergeFile;
    const std::string& targetFile = options.targetFile;
    UseTerminalHost(options.yes);

    XMLMergeInstruments merge;
    if (!merge.Load(mergeFile)) {
      ReportLoadFailure(report, mergeFile, merge.ParseError(), "MERGEINSTRUMENTS",
                        merge.LoadedRootName());
      return report.Finish(nullptr, {});
    }
    const std::string target = merge.Target();
    if (target.empty()) {
      report.Problem(Printable(mergeFile) + ": names no TARGET library", {{"file", mergeFile}});
      return report.Finish(nullptr, {});
    }
    // Held from reading the library to replacing it, so that merges running at the same time
    // follow one another instead of each saving over the other's instruments.
    const FileLock lock(targetFile);
    auto library = std::make_shared<XMLInstruments>();
    if (!LoadLibraryFile(report, targetFile, *library)) return report.Finish(nullptr, {});
    if (ReportDuplicateCodes(report, targetFile, *library) > 0) {
      report.Problem(Printable(targetFile) + ": not merged: catalogue codes must be unique",
                     {{"file", targetFile}});
      return report.Finish(nullptr, {});
    }

    // Whatever class the merge file names as its target, here it is the library file given.
    RegisterClass(target, [library] { return library; });
    merge.Libraries(std::make_shared<clsLibraries>());
    MergeResult result;
    try {
      result = merge.MergeInstruments();
    } catch (const Error& error) {  // the library could not be saved: it is as it was
      report.Problem(Printable(targetFile), error, {{"file", targetFile}});
      return report.Finish(nullptr, {});
    }
    if (result.cancelled) {
      report.Problem("merge cancelled: " + Printable(targetFile) + " is unchanged",
                     {{"file", targetFile}});
      return report.Finish(nullptr, {});
    }
    ordered_json content = {{"mergeFile", mergeFile}, {"targetFile", targetFile}};
    ordered_json& added = content["added"] = ordered_json::array();
    for (const MergeChange& change : result.added) {
      added.push_back({{"catCode", change.catCode},
                       {"name", change.name},
                       {"version", Number(change.newVersion)}});
    }
    ordered_json& replaced = content["replaced"] = ordered_json::array();
    for (const MergeChange& change : result.replaced) {
      replaced.push_back({{"catCode", change.catCode},
                          {"name", change.name},
                          {"oldVersion", Number(change.oldVersion)},
                          {"version", Number(change.newVersion)}});
    }
    content["instruments"] = InstrumentCount(report, targetFile, *library);
    return report.Finish(std::move(content), PrintMerged);
  });
}

void AddMergeCommand(CLI::App& program) {
  auto options = std::make_shared<MergeOptions>();
  CLI::App& command = *program.add_subcommand("merge", "merge an extension module into a library");
  command.add_option("MERGEFILE", options->mergeFile, "the extension module's merge file")
      ->required();
  command.add_option("--target-file", options->targetFile, "the library file to merge into")
      ->type_name("LIBRARYFILE")
      ->required();
  command.add_flag("--yes", options->yes, "confirm the merge without asking");
  AddJsonFlag(command, options->json);
  OnRun(command, [options] { return RunMerge(*options); });
}

}  // namespace corvale::cli

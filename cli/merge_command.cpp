// corvale merge: merge an extension module's merge file into a library file.
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/cli_util.h"
#include "cli/commands.h"
#include "cli/library_report.h"
#include "corvale/core/atomic_file.h"
#include "corvale/core/convert.h"
#include "corvale/core/registry.h"
#include "corvale/libraries/libraries.h"
#include "corvale/libraries/xml_instruments.h"
#include "corvale/libraries/xml_merge_instruments.h"

namespace corvale::cli {

int RunMerge(const std::vector<std::string>& arguments) {
  std::vector<std::string> args = arguments;
  const bool yes = TakeFlag(args, "--yes");
  const std::optional<std::string> targetFile = TakeOption(args, "--target-file");
  RejectUnknownOptions(args);
  if (args.size() != 1) throw UsageError("give one MERGEFILE");
  if (!targetFile) throw UsageError("--target-file LIBRARYFILE is required");
  const std::string& mergeFile = args[0];
  UseTerminalHost(yes);

  XMLMergeInstruments merge;
  if (!merge.Load(mergeFile)) {
    ReportLoadFailure(mergeFile, merge.ParseError(), "MERGEINSTRUMENTS");
    return kExitFailure;
  }
  const std::string target = merge.Target();
  if (target.empty()) {
    std::cerr << mergeFile << ": names no TARGET library\n";
    return kExitFailure;
  }
  // Held from reading the library to replacing it, so that merges running at the same time
  // follow one another instead of each saving over the other's instruments.
  const FileLock lock(*targetFile);
  auto library = std::make_shared<XMLInstruments>();
  if (!LoadLibraryFile(*targetFile, *library)) return kExitFailure;
  if (ReportDuplicateCodes(*targetFile, *library) > 0) {
    std::cerr << *targetFile << ": not merged: catalogue codes must be unique\n";
    return kExitFailure;
  }

  // Whatever class the merge file names as its target, here it is the library file given.
  RegisterClass(target, [library] { return library; });
  merge.Libraries(std::make_shared<clsLibraries>());
  const MergeResult result = merge.MergeInstruments();
  if (result.cancelled) {
    std::cerr << "merge cancelled: " << *targetFile << " is unchanged\n";
    return kExitFailure;
  }
  for (const MergeChange& change : result.added) {
    std::cout << "added " << change.catCode << " \"" << change.name << "\" version "
              << SingleText(change.newVersion) << "\n";
  }
  for (const MergeChange& change : result.replaced) {
    std::cout << "replaced " << change.catCode << " \"" << change.name << "\" version "
              << SingleText(change.oldVersion) << " -> " << SingleText(change.newVersion) << "\n";
  }
  if (result.added.empty() && result.replaced.empty()) {
    std::cout << "nothing to merge: every instrument is there in the same or a newer version\n";
  }
  std::cout << "saved " << *targetFile << " (" << library->Count() << " instruments)\n";
  return kExitOk;
}

}  // namespace corvale::cli

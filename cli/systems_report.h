// What the templates and systems commands share: the list-or-show command over a template or
// systems file, the JSON model of the instrument lists a template or system carries, and the
// text layout of such a model.
#pragma once

#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "cli/commands.h"
#include "cli/report.h"
#include "corvale/systems/keyed_file.h"
#include "corvale/systems/system_instruments.h"

namespace corvale::cli {

// FILE [KEY] [--json] over a template or systems file: loads the file (a failure is reported),
// then prints show(KEY), or list() under "file" and "source" as `listName`; show gives nothing
// for a key the file does not hold, which is reported.
struct KeyedFileCommand {
  std::string_view root;      // "TEMPLATES"
  std::string_view itemWord;  // "template", for messages
  std::string_view listName;  // "templates"
  std::function<std::optional<ordered_json>(const std::string& key)> show = {};
  std::function<ordered_json()> list = {};
};
int RunKeyedFileCommand(const KeyedFileOptions& options, KeyedFile& file,
                        const KeyedFileCommand& command);
// Registers such a command.
void AddKeyedFileCommand(CLI::App& program, std::string_view name, std::string_view help,
                         std::string_view fileHelp,
                         const std::function<int(const KeyedFileOptions&)>& run);

// [{"key", "tag", "index", "logChannels": [...]}, ...]
ordered_json InstrumentsJson(const clsSystemInstruments& instruments);

// A JSON object as indented "Label: value" lines: names become labels ("logInterval" ->
// "Log interval"), empty texts are left out, arrays of objects print one line per item (its
// first member, then the rest in brackets), arrays of texts one comma-separated line.
void PrintJsonAsText(std::ostream& out, const ordered_json& object, std::string_view indent = "");

}  // namespace corvale::cli

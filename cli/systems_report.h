// What the templates and systems commands share: loading their files, the JSON model of the
// lists a template or system carries, and the text layout of a JSON model.
#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "corvale/systems/keyed_file.h"
#include "corvale/systems/system_instruments.h"

namespace corvale::cli {

// The templates and systems commands: FILE [KEY] [--json]. Loads the file (a failure is
// reported, status 1), then prints show(KEY), or list() under "file" and "source" as
// `listName`; show gives nothing for a key the file does not hold (reported, status 1).
struct KeyedFileCommand {
  std::string_view root;      // "TEMPLATES"
  std::string_view itemWord;  // "template", for messages
  std::string_view listName;  // "templates"
  std::function<std::optional<nlohmann::ordered_json>(const std::string& key)> show = {};
  std::function<nlohmann::ordered_json()> list = {};
};
int RunKeyedFileCommand(const std::vector<std::string>& arguments, KeyedFile& file,
                        const KeyedFileCommand& command);

// [{"key", "tag", "index", "logChannels": [...]}, ...]
nlohmann::ordered_json InstrumentsJson(const clsSystemInstruments& instruments);

// A JSON object as indented "Label: value" lines: names become labels ("logInterval" ->
// "Log interval"), empty texts are left out, arrays of objects print one line per item (its
// first member, then the rest in brackets), arrays of texts one comma-separated line.
void PrintJsonAsText(std::ostream& out, const nlohmann::ordered_json& object,
                     std::string_view indent = "");

// Prints the model as JSON (with --json) or as text; returns kExitOk.
int PrintModel(const nlohmann::ordered_json& model, bool json);

}  // namespace corvale::cli

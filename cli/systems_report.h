// What the templates and systems commands share: loading their files, the JSON model of the
// lists a template or system carries, and the text layout of a JSON model.
#pragma once

#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <string_view>

#include "corvale/systems/keyed_file.h"
#include "corvale/systems/system_instruments.h"

namespace corvale::cli {

// Loads a template or systems file; false (with the reason on standard error) when it does
// not load or holds another root.
bool LoadKeyedFile(const std::string& path, KeyedFile& file, std::string_view root);

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

// corvale systems FILE [KEY] [--json]: the systems of a systems file, or one of them in full
// with its instruments and the logger channels each logs.
#include <optional>
#include <string>

#include "cli/commands.h"
#include "cli/systems_report.h"
#include "corvale/systems/systems.h"

namespace corvale::cli {
namespace {

ordered_json Full(const clsSystem& system) {
  ordered_json out = {{"key", system.Key()},
                      {"name", system.Name()},
                      {"description", system.Description()},
                      {"index", system.Index()},
                      {"source", system.Source()},
                      {"logger", system.Logger()},
                      {"logInterval", system.LogInterval()},
                      {"subInterval", system.SubInterval()},
                      {"scanRates", system.ScanRates()},
                      {"codeTemplate", system.CodeTemplate()},
                      {"iconSource", system.IconSource()},
                      {"message", system.Message()}};
  out["instruments"] = InstrumentsJson(*system.Instruments());
  const xml::Node scheme = system.SchemeNode();
  if (scheme) {
    int elements = 0;
    for (const xml::Node& child : scheme.childNodes())
      elements += child.nodeType() == xml::NodeType::Element;
    out["embeddedScheme"] = {{"elements", elements}};
  } else {
    out["embeddedScheme"] = nullptr;
  }
  return out;
}

}  // namespace

int RunSystems(const KeyedFileOptions& options) {
  clsSystems systems;
  KeyedFileCommand command{.root = "SYSTEMS", .itemWord = "system", .listName = "systems"};
  command.show = [&](const std::string& key) -> std::optional<ordered_json> {
    const SystemPtr system = systems.Item(key);
    if (!system) return std::nullopt;
    return Full(*system);
  };
  command.list = [&] {
    ordered_json list = ordered_json::array();
    for (int16_t i = 1; i <= systems.Count(); ++i) {
      const SystemPtr system = systems.Item(i);
      list.push_back({{"key", system->Key()},
                      {"name", system->Name()},
                      {"logger", system->Logger()},
                      {"codeTemplate", system->CodeTemplate()},
                      {"instruments", system->Instruments()->Count()}});
    }
    return list;
  };
  return RunKeyedFileCommand(options, systems, command);
}

void AddSystemsCommand(CLI::App& program) {
  AddKeyedFileCommand(program, "systems",
                      "list the systems of a systems file, or show one in full with its "
                      "instruments and the logger channels each logs",
                      "the systems file", RunSystems);
}

}  // namespace corvale::cli

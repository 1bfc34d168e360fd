// corvale templates FILE [KEY] [--json]: the code templates of a template file, or one of them
// in full with its resource requests, files, events and instruments.
#include <optional>
#include <string>

#include "cli/commands.h"
#include "cli/systems_report.h"
#include "corvale/core/convert.h"
#include "corvale/resources/logger_resource_request.h"
#include "corvale/systems/code_templates.h"

namespace corvale::cli {
namespace {

ordered_json Full(const clsCodeTemplate& codeTemplate) {
  ordered_json out = {{"key", codeTemplate.Key()},
                      {"description", codeTemplate.Description()},
                      {"index", codeTemplate.Index()},
                      {"source", codeTemplate.Source()},
                      {"srcFile", codeTemplate.SrcFile()},
                      {"loggerTypes", codeTemplate.LoggerTypes()},
                      {"programMemoryDataStart", codeTemplate.ProgramMemoryDataStart()},
                      {"virtualChannelStart", codeTemplate.VirtualChannelStart()},
                      {"virtualChannelEnd", codeTemplate.VirtualChannelEnd()},
                      {"writeBuffersToSRC", codeTemplate.WriteBuffersToSRC()}};
  ordered_json& requests = out["resourceRequests"] = ordered_json::array();
  const auto& resources = *codeTemplate.ResourceRequest();
  for (int16_t i = 1; i <= resources.Count(); ++i) {
    const auto request = resources.Item(i);
    requests.push_back({{"key", request->Key()},
                        {"resource", request->Resource()},
                        {"lock", LockModeCaption(request->Locked())}});
  }
  ordered_json& files = out["files"] = ordered_json::array();
  const auto& fileList = *codeTemplate.Files();
  for (int16_t i = 1; i <= fileList.Count(); ++i) {
    const auto file = fileList.Item(i);
    files.push_back({{"path", file->File()},
                     {"family", file->Family()},
                     {"version", TextToDouble(SingleText(file->Version()))}});
  }
  ordered_json& events = out["events"] = ordered_json::array();
  const auto& eventList = *codeTemplate.Events();
  for (int16_t i = 1; i <= eventList.Count(); ++i) {
    const auto event = eventList.Item(i);
    events.push_back({{"key", event->Key()}, {"name", event->Name()}});
  }
  out["instruments"] = InstrumentsJson(*codeTemplate.Instruments());
  return out;
}

}  // namespace

int RunTemplates(const KeyedFileOptions& options) {
  clsCodeTemplates templates;
  KeyedFileCommand command{.root = "TEMPLATES", .itemWord = "template", .listName = "templates"};
  command.show = [&](const std::string& key) -> std::optional<ordered_json> {
    const CodeTemplatePtr codeTemplate = templates.Item(key);
    if (!codeTemplate) return std::nullopt;
    return Full(*codeTemplate);
  };
  command.list = [&] {
    ordered_json list = ordered_json::array();
    for (int16_t i = 1; i <= templates.Count(); ++i) {
      const CodeTemplatePtr codeTemplate = templates.Item(i);
      list.push_back({{"key", codeTemplate->Key()},
                      {"description", codeTemplate->Description()},
                      {"loggerTypes", codeTemplate->LoggerTypes()},
                      {"instruments", codeTemplate->Instruments()->Count()}});
    }
    return list;
  };
  return RunKeyedFileCommand(options, templates, command);
}

void AddTemplatesCommand(CLI::App& program) {
  AddKeyedFileCommand(program, "templates",
                      "list the code templates of a template file, or show one in full with its "
                      "resource requests, files, events and instruments",
                      "the template file", RunTemplates);
}

}  // namespace corvale::cli

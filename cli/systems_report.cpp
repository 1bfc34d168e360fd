#include "cli/systems_report.h"

#include <cctype>
#include <memory>
#include <utility>

#include "cli/command.h"
#include "cli/library_report.h"
#include "corvale/core/error.h"

namespace corvale::cli {
namespace {

using nlohmann::ordered_json;

// "logInterval" -> "Log interval", "writeBuffersToSRC" -> "Write buffers to SRC".
std::string Label(std::string_view name) {
  std::string label;
  for (size_t i = 0; i < name.size(); ++i) {
    const auto c = static_cast<unsigned char>(name[i]);
    const bool upper = std::isupper(c);
    const bool acronym = upper && ((i + 1 < name.size() && std::isupper(name[i + 1])) ||
                                   (i > 0 && std::isupper(name[i - 1])));
    if (upper && i > 0 && !std::isupper(name[i - 1])) label += ' ';
    label += static_cast<char>(upper && !acronym && i > 0 ? std::tolower(c) : c);
  }
  if (!label.empty()) label[0] = static_cast<char>(std::toupper(label[0]));
  return label;
}

std::string Scalar(const ordered_json& value) {
  if (!value.is_array()) return Text(value);
  std::string text;
  for (const auto& item : value) text += (text.empty() ? "" : ", ") + Scalar(item);
  return text;
}

// The first member, then the others that have a value in brackets.
std::string ItemLine(const ordered_json& item) {
  std::string head;
  std::string rest;
  for (const auto& [name, value] : item.items()) {
    const std::string text = Scalar(value);
    if (head.empty() && rest.empty()) {
      head = text.empty() ? "(no " + Label(name) + ")" : text;
    } else if (!text.empty()) {
      rest += (rest.empty() ? "" : "; ") + Label(name) + ": " + text;
    }
  }
  return rest.empty() ? head : head + " (" + rest + ")";
}

}  // namespace

int RunKeyedFileCommand(const KeyedFileOptions& options, KeyedFile& file,
                        const KeyedFileCommand& command) {
  Report report(options.json);
  const std::string& path = options.file;
  bool loaded = false;
  try {
    loaded = file.Load(path);
  } catch (const Error&) {
    // Another root: said below, as for every other document.
  }
  if (!loaded) {
    ReportLoadFailure(report, path, file.ParseError(), command.root, file.LoadedRootName());
    return report.Finish(nullptr, {});
  }
  const TextView text = [](std::ostream& out, const ordered_json& content) {
    PrintJsonAsText(out, content);
  };
  if (!options.key.empty()) {
    std::optional<ordered_json> item = command.show(options.key);
    if (!item) {
      report.Problem(Printable(path) + ": no " + std::string(command.itemWord) +
                         " with the key \"" + Printable(options.key) + "\"",
                     {{"file", path}, {"key", options.key}});
    }
    return report.Finish(item ? std::move(*item) : ordered_json(), text);
  }
  return report.Finish(
      {{"file", path}, {"source", file.Source()}, {std::string(command.listName), command.list()}},
      text);
}

void AddKeyedFileCommand(CLI::App& program, std::string_view name, std::string_view help,
                         std::string_view fileHelp,
                         const std::function<int(const KeyedFileOptions&)>& run) {
  auto options = std::make_shared<KeyedFileOptions>();
  CLI::App& command = *program.add_subcommand(std::string(name), std::string(help));
  command.add_option("FILE", options->file, std::string(fileHelp))->required();
  command.add_option("KEY", options->key, "the key of the one to show");
  AddJsonFlag(command, options->json);
  OnRun(command, [options, run] { return run(*options); });
}

ordered_json InstrumentsJson(const clsSystemInstruments& instruments) {
  ordered_json list = ordered_json::array();
  for (int16_t i = 1; i <= instruments.Count(); ++i) {
    const auto instrument = instruments.Item(i);
    ordered_json channels = ordered_json::array();
    for (int16_t c = 1; c <= instrument->Count(); ++c)
      channels.push_back(instrument->LogChannel(c));
    list.push_back({{"key", instrument->Key()},
                    {"tag", instrument->Tag()},
                    {"index", instrument->Index()},
                    {"logChannels", std::move(channels)}});
  }
  return list;
}

void PrintJsonAsText(std::ostream& out, const ordered_json& object, std::string_view indent) {
  for (const auto& [name, value] : object.items()) {
    if (value.is_object()) {
      out << indent << Label(name) << ":\n";
      PrintJsonAsText(out, value, std::string(indent) + "  ");
    } else if (value.is_array() && !value.empty() && value.front().is_object()) {
      out << indent << Label(name) << " (" << value.size() << ")\n";
      for (const auto& item : value) out << indent << "  " << ItemLine(item) << "\n";
    } else if (const std::string text = Scalar(value); !text.empty()) {
      out << indent << Label(name) << ": " << text << "\n";
    }
  }
}

}  // namespace corvale::cli

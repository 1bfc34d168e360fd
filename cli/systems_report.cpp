#include "cli/systems_report.h"

#include <cctype>
#include <iostream>

#include "cli/cli_util.h"
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
  if (value.is_string()) return value.get<std::string>();
  if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
  if (value.is_array()) {
    std::string text;
    for (const auto& item : value) text += (text.empty() ? "" : ", ") + Scalar(item);
    return text;
  }
  return value.is_null() ? std::string() : value.dump();
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

int RunKeyedFileCommand(const std::vector<std::string>& arguments, KeyedFile& file,
                        const KeyedFileCommand& command) {
  std::vector<std::string> args = arguments;
  const bool json = TakeFlag(args, "--json");
  RejectUnknownOptions(args);
  if (args.empty()) throw UsageError("no FILE given");
  if (args.size() > 2) throw UsageError("too many arguments");

  const std::string& path = args[0];
  bool loaded = false;
  try {
    loaded = file.Load(path);
  } catch (const Error&) {
    // Another root: said below, as for every other document.
  }
  if (!loaded) {
    ReportLoadFailure(path, file.ParseError(), command.root);
    return kExitFailure;
  }
  if (args.size() == 2) {
    const std::optional<ordered_json> item = command.show(args[1]);
    if (!item) {
      std::cerr << path << ": no " << command.itemWord << " with the key \"" << args[1] << "\"\n";
      return kExitFailure;
    }
    return PrintModel(*item, json);
  }
  return PrintModel(
      {{"file", path}, {"source", file.Source()}, {std::string(command.listName), command.list()}},
      json);
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

int PrintModel(const ordered_json& model, bool json) {
  if (json) {
    std::cout << model.dump(2) << "\n";
  } else {
    PrintJsonAsText(std::cout, model);
  }
  return kExitOk;
}

}  // namespace corvale::cli

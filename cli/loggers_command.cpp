// corvale loggers FILE [KEY] [--json]: the logger definitions of a file, or one of them in full
// with its resources, input channels and output channels.
#include <iomanip>
#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "cli/command.h"
#include "cli/commands.h"
#include "cli/library_report.h"
#include "cli/report.h"
#include "corvale/binding/node_access.h"
#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/instruments/inst_channels.h"
#include "corvale/loggers/logger_defs.h"
#include "corvale/resources/logger_resource_request.h"

namespace corvale::cli {
namespace {

// The first key that two children of `container` share (without regard to case), in
// document order; empty keys are no keys unless `emptyIsKey`.
std::optional<std::string> RepeatedKey(const xml::Node& container, std::string_view child,
                                       std::string (*keyOf)(const xml::Node&),
                                       bool emptyIsKey = false) {
  std::unordered_set<std::string> seen;
  for (const xml::Node& element : container.selectNodes(child)) {
    const std::string key = keyOf(element);
    if (key.empty() && !emptyIsKey) continue;
    if (!seen.insert(UpperCase(key)).second) return key;
  }
  return std::nullopt;
}

std::string KeyText(const xml::Node& element) { return GetNodeText(element, "KEY", ""); }
std::string UserText(const xml::Node& element) { return element.text(); }
std::string LoggerKey(const xml::Node& element) {
  const std::string key = KeyText(element);
  return key.empty() ? GetNodeText(element, "CATCODE", "") : key;
}

// Where in a LOGGER element a key is repeated, for the message of a 457.
std::string RepeatedKeyIn(const xml::Node& logger) {
  for (const char* list : {"INPUTCHANNELS", "OUTPUTCHANNELS"}) {
    const xml::Node channels = logger.selectSingleNode(list);
    if (auto key = RepeatedKey(channels, "CHANNEL", KeyText))
      return "two channels of " + std::string(list) + " have the key \"" + *key + "\"";
    for (const xml::Node& channel : channels.selectNodes("CHANNEL"))
      if (auto key = RepeatedKey(channel.selectSingleNode("RESOURCES"), "REQUEST", KeyText))
        return "channel \"" + KeyText(channel) + "\" has two requests with the key \"" + *key +
               "\"";
  }
  const xml::Node resources = logger.selectSingleNode("RESOURCES");
  if (auto key = RepeatedKey(resources, "RESOURCE", KeyText))
    return "two resources have the key \"" + *key + "\"";
  for (const xml::Node& resource : resources.selectNodes("RESOURCE"))
    if (auto user = RepeatedKey(resource.selectSingleNode("USERS"), "USER", UserText))
      return "resource \"" + KeyText(resource) + "\" lists the user \"" + *user + "\" twice";
  return "a key is repeated";
}

std::string StateText(int state) {
  if (state == 0) return "free";
  std::string text;
  auto add = [&](int flag, const char* word) {
    if (!(state & flag)) return;
    if (!text.empty()) text += ", ";
    text += word;
  };
  add(channel_state::kUsed, "in use");
  add(channel_state::kLocked, "locked");
  add(channel_state::kNotAvailable, "not available");
  return text;
}

ordered_json UsersOf(const clsLoggerResourceUsers& users) {
  ordered_json list = ordered_json::array();
  for (int16_t i = 1; i <= users.Count(); ++i) list.push_back(users.Item(i));
  return list;
}

// The requests of a channel, each with the state of the resource it names.
ordered_json Requests(const clsLoggerResourceList& requests, const clsLoggerResources& pool) {
  ordered_json list = ordered_json::array();
  for (int16_t i = 1; i <= requests.Count(); ++i) {
    const auto request = requests.Item(i);
    ordered_json item = {{"key", request->Key()},
                         {"resource", request->Resource()},
                         {"lock", request->Locked()},
                         {"lockCaption", LockModeCaption(request->Locked())}};
    if (const auto resource = pool.Find(request->Resource())) {
      item["resourceLock"] = LockModeCaption(resource->Locked());
      item["resourceUsers"] = UsersOf(*resource->Users());
    } else {
      item["resourceLock"] = nullptr;  // the logger has no such resource
    }
    list.push_back(std::move(item));
  }
  return list;
}

template <class Channels>
void AddChannelState(ordered_json& item, Channels& channels, const std::string& key) {
  try {
    const int state = channels.State(key);
    item["state"] = state;
    item["stateText"] = StateText(state);
    item["users"] = UsersOf(*channels.GetUsers(key));
  } catch (const Error&) {
    item["state"] = nullptr;
    item["stateText"] = "requests a resource the logger does not have";
  }
}

ordered_json Summary(const clsLoggerDef& logger) {
  return {{"key", logger.Key()},
          {"name", logger.Name()},
          {"loggerType", logger.LoggerType()},
          {"memorySize", logger.MemorySize()},
          {"inputChannels", logger.InputChannels()->Count()},
          {"outputChannels", logger.OutputChannels()->Count()},
          {"resources", logger.Resources()->Count()}};
}

ordered_json Full(clsLoggerDef& logger) {
  ordered_json out = {{"key", logger.Key()},
                      {"catCode", logger.CatCode()},
                      {"name", logger.Name()},
                      {"description", logger.Description()},
                      {"loggerType", logger.LoggerType()},
                      {"memorySize", logger.MemorySize()},
                      // As the document writes it, not widened to a double's digits.
                      {"timeBase", TextToDouble(SingleText(logger.TimeBase()))},
                      {"firmwareVersion", logger.FirmwareVersion()},
                      {"iconSource", logger.IconSource()},
                      {"minimumCompiler", logger.MinimumCompiler()},
                      {"minimumBuildRevision", logger.MinimumBuildRevision()}};
  const clsLoggerResources& pool = *logger.Resources();
  ordered_json& resources = out["resources"] = ordered_json::array();
  for (int16_t i = 1; i <= pool.Count(); ++i) {
    const auto resource = pool.Item(i);
    resources.push_back({{"key", resource->Key()},
                         {"type", resource->ResourceType()},
                         {"tag", resource->Tag()},
                         {"lock", resource->Locked()},
                         {"lockCaption", LockModeCaption(resource->Locked())},
                         {"users", UsersOf(*resource->Users())}});
  }
  clsLoggerInputChannels& inputs = *logger.InputChannels();
  ordered_json& inputList = out["inputChannels"] = ordered_json::array();
  for (int16_t i = 1; i <= inputs.Count(); ++i) {
    const auto channel = inputs.Item(i);
    ordered_json item = {{"key", channel->Key()},
                         {"name", channel->Name()},
                         {"description", channel->Description()},
                         {"channelType", channel->ChannelType()},
                         {"channelTypeName", ChannelTypeName(channel->ChannelType())},
                         {"inputDataType", channel->InputDataType()},
                         {"dataTypeName", DataTypeName(channel->InputDataType())},
                         {"numberBytes", channel->NumberBytes()},
                         {"baseAddress", channel->BaseAddress()},
                         {"format", channel->Format()},
                         {"min", channel->Min()},
                         {"max", channel->Max()},
                         {"multiplier", channel->Multiplier()},
                         {"offset", channel->Offset()},
                         {"virtual", channel->Virtual()},
                         {"requests", Requests(*channel->ResourceList(), pool)}};
    AddChannelState(item, inputs, channel->Key());
    inputList.push_back(std::move(item));
  }
  clsLoggerOutputChannels& outputs = *logger.OutputChannels();
  ordered_json& outputList = out["outputChannels"] = ordered_json::array();
  for (int16_t i = 1; i <= outputs.Count(); ++i) {
    const auto channel = outputs.Item(i);
    ordered_json item = {{"key", channel->Key()},
                         {"name", channel->Name()},
                         {"description", channel->Description()},
                         {"channelType", channel->ChannelType()},
                         {"channelTypeName", ChannelTypeName(channel->ChannelType())},
                         {"requests", Requests(*channel->ResourceList(), pool)}};
    AddChannelState(item, outputs, channel->Key());
    outputList.push_back(std::move(item));
  }
  return out;
}

std::string Joined(const ordered_json& list) {
  std::string text;
  for (const auto& item : list) text += (text.empty() ? "" : ", ") + Text(item);
  return text.empty() ? "-" : text;
}

void PrintList(std::ostream& out, const ordered_json& content) {
  const ordered_json& loggers = content["loggers"];
  out << std::left << std::setw(12) << "KEY" << std::setw(34) << "NAME" << std::right
      << std::setw(6) << "TYPE" << std::setw(10) << "MEMORY" << std::setw(8) << "INPUTS"
      << std::setw(9) << "OUTPUTS" << std::setw(11) << "RESOURCES"
      << "\n";
  for (const auto& logger : loggers) {
    out << std::left << std::setw(12) << Text(logger["key"]) << std::setw(34)
        << Text(logger["name"]) << std::right << std::setw(6) << Text(logger["loggerType"])
        << std::setw(10) << Text(logger["memorySize"]) << std::setw(8)
        << Text(logger["inputChannels"]) << std::setw(9) << Text(logger["outputChannels"])
        << std::setw(11) << Text(logger["resources"]) << "\n";
  }
}

void PrintRequests(std::ostream& out, const ordered_json& requests) {
  for (const auto& request : requests) {
    out << "      request " << Text(request["key"]) << ": " << Text(request["resource"])
        << ", lock mode " << Text(request["lockCaption"]);
    if (request["resourceLock"].is_null()) {
      out << "; the logger has no such resource\n";
    } else {
      out << "; resource lock " << Text(request["resourceLock"])
          << ", users: " << Joined(request["resourceUsers"]) << "\n";
    }
  }
}

void PrintFull(std::ostream& out, const ordered_json& logger) {
  out << "Logger " << Text(logger["key"]) << ": " << Text(logger["name"]) << "\n";
  for (const auto& [label, field] : {std::pair{"Catalogue code", "catCode"},
                                     {"Description", "description"},
                                     {"Logger type", "loggerType"},
                                     {"Memory size", "memorySize"},
                                     {"Time base", "timeBase"},
                                     {"Firmware version", "firmwareVersion"},
                                     {"Icon source", "iconSource"},
                                     {"Minimum compiler", "minimumCompiler"},
                                     {"Minimum build revision", "minimumBuildRevision"}}) {
    const std::string text = Text(logger[field]);
    if (!text.empty()) out << "  " << label << ": " << text << "\n";
  }
  out << "Resources (" << logger["resources"].size() << ")\n";
  for (const auto& resource : logger["resources"]) {
    out << "  " << Text(resource["key"]) << ": " << Text(resource["lockCaption"]) << "; type "
        << Text(resource["type"]);
    if (!Text(resource["tag"]).empty()) out << "; " << Text(resource["tag"]);
    out << "; users: " << Joined(resource["users"]) << "\n";
  }
  out << "Input channels (" << logger["inputChannels"].size() << ")\n";
  for (const auto& channel : logger["inputChannels"]) {
    out << "  " << Text(channel["key"]) << ": "
        << Coded(channel["channelTypeName"], channel["channelType"]) << ", "
        << Coded(channel["dataTypeName"], channel["inputDataType"]) << ", "
        << Text(channel["numberBytes"]) << " bytes";
    if (channel["min"] != 0 || channel["max"] != 0)
      out << ", range " << Text(channel["min"]) << " to " << Text(channel["max"]);
    else
      out << ", no range";
    if (channel["virtual"].get<bool>()) out << ", virtual";
    out << "; " << Text(channel["stateText"]) << "\n";
    if (!Text(channel["description"]).empty())
      out << "      " << Text(channel["description"]) << "\n";
    PrintRequests(out, channel["requests"]);
  }
  out << "Output channels (" << logger["outputChannels"].size() << ")\n";
  for (const auto& channel : logger["outputChannels"]) {
    out << "  " << Text(channel["key"]) << ": "
        << Coded(channel["channelTypeName"], channel["channelType"]) << "; "
        << Text(channel["stateText"]) << "\n";
    if (!Text(channel["description"]).empty())
      out << "      " << Text(channel["description"]) << "\n";
    PrintRequests(out, channel["requests"]);
  }
}

// Loads the file; false, with the reason reported, when it is not a logger definition file or
// holds a key twice.
bool LoadDefinitions(Report& report, const std::string& path, clsLoggerDefs& loggers) {
  try {
    if (loggers.Load(path) && loggers.XMLNode()) return true;
  } catch (const Error& error) {
    if (error.number() != err::kDuplicateKey) {
      report.Problem(Printable(path), error, {{"file", path}});
      return false;
    }
    const auto key =
        RepeatedKey(loggers.Document().selectSingleNode("LOGGERS"), "LOGGER", LoggerKey, true);
    report.Problem(Printable(path) + ": two logger definitions have the key \"" + key.value_or("") +
                       "\" (error " + std::to_string(error.number()) + ": " + error.description() +
                       ")",
                   {{"file", path}, {"logger", key.value_or("")}, {"error", error.number()}});
    return false;
  }
  ReportLoadFailure(report, path, loggers.ParseError(), "LOGGERS");
  return false;
}

// The LOGGER element at a position or with a key, as the loaded set indexes them; null when
// there is none.
xml::Node ElementAt(const clsLoggerDefs& loggers, const corvale::Index& index) {
  const std::vector<xml::Node> elements = loggers.XMLNode().selectNodes("LOGGER");
  if (index.IsPosition()) {
    const auto position = static_cast<size_t>(index.Position());
    return position >= 1 && position <= elements.size() ? elements[position - 1] : xml::Node();
  }
  for (const xml::Node& element : elements)
    if (EqualsNoCase(LoggerKey(element), index.Key())) return element;
  return {};
}

// One definition read into JSON; nothing, with the reason reported, for an unknown key, a key
// repeated inside the definition or a value the model cannot read.
std::optional<ordered_json> Read(Report& report, const std::string& path,
                                 const clsLoggerDefs& loggers, const corvale::Index& index,
                                 bool full) {
  const xml::Node element = ElementAt(loggers, index);
  if (!element) {
    report.Problem(Printable(path) + ": no logger definition with the key \"" + index.Key() + "\"",
                   {{"file", path}, {"logger", index.Key()}});
    return std::nullopt;
  }
  try {
    const LoggerDefPtr logger = loggers.Item(index);
    return full ? Full(*logger) : Summary(*logger);
  } catch (const Error& error) {
    const std::string where = Printable(path) + ": logger " + LoggerKey(element);
    const ordered_json fields = {{"file", path}, {"logger", LoggerKey(element)}};
    if (error.number() != err::kDuplicateKey) {
      report.Problem(where, error, fields);
    } else {
      report.Problem(where + ": " + RepeatedKeyIn(element) + " (error " +
                         std::to_string(error.number()) + ": " + error.description() + ")",
                     fields);
    }
    return std::nullopt;
  }
}

}  // namespace

int RunLoggers(const LoggersOptions& options) {
  Report report(options.json);
  const std::string& path = options.file;
  auto loggers = std::make_shared<clsLoggerDefs>();
  if (!LoadDefinitions(report, path, *loggers)) return report.Finish(nullptr, {});

  if (!options.key.empty()) {
    auto logger = Read(report, path, *loggers, options.key, true);
    return report.Finish(logger ? std::move(*logger) : ordered_json(), PrintFull);
  }
  ordered_json list = ordered_json::array();
  for (int16_t i = 1; i <= loggers->Count(); ++i) {
    if (auto logger = Read(report, path, *loggers, i, false)) list.push_back(std::move(*logger));
  }
  return report.Finish({{"file", path}, {"loggers", std::move(list)}}, PrintList);
}

void AddLoggersCommand(CLI::App& program) {
  auto options = std::make_shared<LoggersOptions>();
  CLI::App& command = *program.add_subcommand(
      "loggers",
      "list the logger definitions of a file, or show one in full with its resources and "
      "channels");
  command.add_option("FILE", options->file, "the logger definition file")->required();
  command.add_option("KEY", options->key, "the key of the one to show");
  AddJsonFlag(command, options->json);
  OnRun(command, [options] { return RunLoggers(*options); });
}

}  // namespace corvale::cli

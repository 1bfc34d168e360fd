// corvale scheme new|add|remove|show|compile: the scheme workflow. Each subcommand reads its
// options into a plain struct, works on a corvale::Scheme, and prints one report made as a JSON
// document first: --json prints it as it is, the text view lays it out.
#include <cstdio>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "cli/cli_util.h"
#include "cli/commands.h"
#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/instruments/event.h"
#include "corvale/instruments/events.h"
#include "corvale/instruments/inst_channel.h"
#include "corvale/instruments/inst_channels.h"
#include "corvale/instruments/output.h"
#include "corvale/loggers/logger_defs.h"
#include "corvale/loggers/logger_input_channel.h"
#include "corvale/loggers/logger_input_channels.h"
#include "corvale/resources/logger_resource.h"
#include "corvale/resources/logger_resource_list.h"
#include "corvale/resources/logger_resource_request.h"
#include "corvale/resources/logger_resource_users.h"
#include "corvale/resources/logger_resources.h"
#include "corvale/scheme/log_buffer.h"
#include "corvale/scheme/scheme.h"

namespace corvale::cli {

struct SchemeNewOptions {
  std::string scheme, loggers, logger;
  std::vector<std::string> libraries;
};
struct SchemeAddOptions {
  std::string scheme, catCode, library;
  std::optional<std::string> before, after;
  bool json = false;
};
struct SchemeRemoveOptions {
  std::string scheme, key;
};
struct SchemeShowOptions {
  std::string scheme;
  bool json = false;
};
struct SchemeCompileOptions {
  std::string scheme, output;
  bool json = false;
};

namespace {

using nlohmann::ordered_json;

std::string Hex(int32_t number) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%08X", static_cast<uint32_t>(number));
  return text;
}

ordered_json ErrorList(const clsErrors& errors) {
  ordered_json list = ordered_json::array();
  for (int16_t i = 1; i <= errors.Count(); ++i) {
    const ErrorPtr e = errors.Item(i);
    list.push_back({{"number", Hex(e->Number())},
                    {"fatal", e->Fatal()},
                    {"description", e->Description()},
                    {"source", e->Source()}});
  }
  return list;
}

void PrintErrors(const ordered_json& errors) {
  if (errors.empty()) return;
  std::cout << "errors:\n";
  for (const auto& e : errors)
    std::cout << "  " << e["number"].get<std::string>()
              << (e["fatal"].get<bool>() ? " fatal " : " ") << e["description"].get<std::string>()
              << " (" << e["source"].get<std::string>() << ")\n";
}

// The report: text or JSON from the same document.
void Report(const ordered_json& report, bool json, void (*text)(const ordered_json&)) {
  if (json) {
    std::cout << report.dump(2) << "\n";
  } else {
    text(report);
  }
}

SchemePtr OpenScheme(const std::string& path) {
  auto scheme = std::make_shared<Scheme>();
  if (!scheme->Load(path)) {
    const xml::ParseError& error = scheme->ParseError();
    if (error.errorCode != 0)
      throw Error(err::kPathFileAccess,
                  path + ": " + error.reason + " (line " + IntegerText(error.line) + ")");
    throw Error(err::kPathFileAccess, path + ": not a scheme (no SCHEME root)");
  }
  return scheme;
}

ordered_json ChannelReport(const clsInstChannel& channel, const LoggerDefPtr& logger) {
  ordered_json resources = ordered_json::array();
  const std::string loggerChannel = channel.LoggerChannel();
  if (logger && !loggerChannel.empty()) {
    try {
      const auto requests = logger->InputChannels()->Item(loggerChannel)->ResourceList();
      for (int16_t r = 1; r <= requests->Count(); ++r)
        resources.push_back(requests->Item(r)->Resource());
    } catch (const Error&) {
      // A logger channel the logger no longer has holds nothing.
    }
  }
  return {{"key", channel.Key()},           {"alias", channel.Alias()},
          {"enabled", channel.Enabled()},   {"type", ChannelTypeName(channel.ChannelType())},
          {"loggerChannel", loggerChannel}, {"resources", resources}};
}

ordered_json InstrumentReport(const IInstrument& instrument, const LoggerDefPtr& logger) {
  ordered_json channels = ordered_json::array();
  auto list = const_cast<IInstrument&>(instrument).Channels();
  for (int16_t j = 1; list && j <= list->Count(); ++j)
    channels.push_back(ChannelReport(*list->Item(j), logger));
  return {{"key", instrument.Key()},
          {"name", instrument.Name()},
          {"source", instrument.Source()},
          {"channels", channels}};
}

void PrintChannels(const ordered_json& channels) {
  for (const auto& c : channels) {
    std::cout << "    " << c["alias"].get<std::string>() << "  " << c["type"].get<std::string>()
              << "  ";
    const std::string lc = c["loggerChannel"];
    std::cout << (lc.empty() ? (c["enabled"].get<bool>() ? "(no logger channel)" : "(disabled)")
                             : lc);
    if (!c["resources"].empty()) {
      std::cout << "  holds";
      for (const auto& r : c["resources"]) std::cout << " " << r.get<std::string>();
    }
    std::cout << "\n";
  }
}

// ---------------------------------------------------------------------------------------------

int SchemeNew(const SchemeNewOptions& o) {
  auto loggers = std::make_shared<clsLoggerDefs>();
  if (!loggers->Load(o.loggers))
    throw Error(err::kPathFileAccess, o.loggers + ": " + loggers->ParseError().reason);
  const LoggerDefPtr logger = loggers->Item(o.logger);
  auto scheme = std::make_shared<Scheme>();
  scheme->New(o.logger, *logger, o.libraries);
  if (scheme->Instruments()->Errors()->Count() > 0) {
    PrintErrors(ErrorList(*scheme->Instruments()->Errors()));
    return kExitFailure;
  }
  scheme->Save(o.scheme);
  std::cout << o.scheme << ": new scheme for logger " << o.logger << " (" << logger->Name()
            << ") with " << o.libraries.size() << " librar"
            << (o.libraries.size() == 1 ? "y" : "ies") << "\n";
  return kExitOk;
}

int SchemeAdd(const SchemeAddOptions& o) {
  const SchemePtr scheme = OpenScheme(o.scheme);
  const InstrumentPtr instrument = scheme->LibraryInstrument(o.catCode, o.library);
  if (!instrument)
    throw Error(err::kSubscriptOutOfRange,
                "no library of the scheme has the instrument " + o.catCode +
                    (o.library.empty() ? std::string() : " (library " + o.library + ")"));
  auto& set = *scheme->Instruments();
  const std::optional<Index> before = o.before ? std::optional<Index>(*o.before) : std::nullopt;
  const std::optional<Index> after = o.after ? std::optional<Index>(*o.after) : std::nullopt;
  const bool added = set.Add(instrument, before, after);
  bool inScheme = false;
  try {
    inScheme = set.Item(instrument->Key()) == instrument;
  } catch (const Error&) {
  }
  // A refused instrument may have taken channels before it was stopped: the file then keeps
  // the scheme as it was. One that is in the scheme is saved, also when a buddy was refused.
  if (inScheme) scheme->Save();

  ordered_json report = InstrumentReport(*instrument, scheme->Logger());
  report["added"] = added;
  report["inScheme"] = inScheme;
  report["errors"] = ErrorList(*set.Errors());
  Report(report, o.json, [](const ordered_json& r) {
    std::cout << (r["inScheme"].get<bool>() ? "added " : "refused ") << r["key"].get<std::string>()
              << "  " << r["name"].get<std::string>() << "\n";
    if (r["inScheme"].get<bool>()) PrintChannels(r["channels"]);
    PrintErrors(r["errors"]);
  });
  return added ? kExitOk : kExitFailure;
}

int SchemeRemove(const SchemeRemoveOptions& o) {
  const SchemePtr scheme = OpenScheme(o.scheme);
  scheme->Instruments()->Remove(o.key);
  scheme->Save();
  std::cout << "removed " << o.key << "\n";
  return kExitOk;
}

int SchemeShow(const SchemeShowOptions& o) {
  const SchemePtr scheme = OpenScheme(o.scheme);
  const LoggerDefPtr logger = scheme->Logger();
  ordered_json report = {{"scheme", scheme->Name()},
                         {"logger", logger ? logger->Key() : ""},
                         {"loggerName", logger ? logger->Name() : ""}};
  ordered_json instruments = ordered_json::array();
  auto& set = *scheme->Instruments();
  for (int16_t i = 1; i <= set.Count(); ++i)
    instruments.push_back(InstrumentReport(*set.Item(i), logger));
  report["instruments"] = instruments;

  ordered_json resources = ordered_json::array();
  for (int16_t r = 1; logger && r <= logger->Resources()->Count(); ++r) {
    const LoggerResourcePtr resource = logger->Resources()->Item(r);
    ordered_json users = ordered_json::array();
    for (int16_t u = 1; u <= resource->Users()->Count(); ++u)
      users.push_back(resource->Users()->Item(u));
    resources.push_back({{"key", resource->Key()},
                         {"lock", LockModeCaption(resource->Locked())},
                         {"users", users}});
  }
  report["resources"] = resources;

  ordered_json outputs = ordered_json::array();
  for (int16_t i = 1; i <= scheme->Outputs()->Count(); ++i) {
    const OutputPtr output = scheme->Outputs()->Item(i);
    outputs.push_back(
        {{"key", output->Key()}, {"name", output->Name()}, {"parent", output->Parent()}});
  }
  report["outputs"] = outputs;
  ordered_json events = ordered_json::array();
  for (int16_t i = 1; i <= scheme->Events()->Count(); ++i) {
    const EventPtr event = scheme->Events()->Item(i);
    events.push_back({{"key", event->Key()}, {"name", event->Name()}, {"parent", event->Parent()}});
  }
  report["events"] = events;
  ordered_json buffers = ordered_json::array();
  for (int16_t b = 1; b <= scheme->LogBuffers()->Count(); ++b) {
    const LogBufferPtr buffer = scheme->LogBuffers()->Item(b);
    buffers.push_back({{"key", buffer->Key()},
                       {"name", buffer->Name()},
                       {"recordBytes", buffer->LogSize()},
                       {"memoryDays", buffer->MemoryTime()}});
  }
  report["logBuffers"] = buffers;
  report["errors"] = ErrorList(*set.Errors());

  Report(report, o.json, [](const ordered_json& r) {
    std::cout << "scheme " << r["scheme"].get<std::string>() << " on logger "
              << r["logger"].get<std::string>() << " (" << r["loggerName"].get<std::string>()
              << ")\ninstruments:\n";
    for (const auto& i : r["instruments"]) {
      std::cout << "  " << i["key"].get<std::string>() << "  " << i["name"].get<std::string>()
                << "  from " << i["source"].get<std::string>() << "\n";
      PrintChannels(i["channels"]);
    }
    std::cout << "logger resources:\n";
    std::string free;
    for (const auto& res : r["resources"]) {
      if (res["users"].empty() && res["lock"] == LockModeCaption(0)) {
        free += " " + res["key"].get<std::string>();
        continue;
      }
      std::cout << "  " << res["key"].get<std::string>() << "  " << res["lock"].get<std::string>()
                << "  users";
      for (const auto& u : res["users"]) std::cout << " " << u.get<std::string>();
      std::cout << "\n";
    }
    if (!free.empty()) std::cout << "  free:" << free << "\n";
    for (const char* list : {"outputs", "events"}) {
      std::cout << "scheme " << list << ":" << (r[list].empty() ? " none" : "") << "\n";
      for (const auto& item : r[list])
        std::cout << "  " << item["key"].get<std::string>() << "  "
                  << item["name"].get<std::string>() << "  (from "
                  << item["parent"].get<std::string>() << ")\n";
    }
    std::cout << "log buffers:" << (r["logBuffers"].empty() ? " none" : "") << "\n";
    for (const auto& b : r["logBuffers"])
      std::cout << "  " << b["key"].get<std::string>() << "  " << b["name"].get<std::string>()
                << "  record " << b["recordBytes"].get<int>() << " bytes, memory lasts "
                << b["memoryDays"].get<double>() << " days\n";
    PrintErrors(r["errors"]);
  });
  return kExitOk;
}

// The program text the scheme contributes to the logger program, block by block.
std::string ProgramListing(Scheme& scheme) {
  std::string text;
  auto block = [&](const std::string& comment, const std::string& code) {
    if (code.empty()) return;
    text += "; " + comment + "\n" + code;
    if (text.back() != '\n') text += "\n";
  };
  auto& set = *scheme.Instruments();
  for (int16_t i = 1; i <= set.Count(); ++i) {
    const InstrumentPtr instrument = set.Item(i);
    block("instrument " + instrument->Key() + " (" + instrument->Name() + ")",
          instrument->INPCode());
    auto channels = instrument->Channels();
    for (int16_t j = 1; channels && j <= channels->Count(); ++j) {
      const InstChannelPtr channel = channels->Item(j);
      if (!channel->Enabled()) continue;
      block("channel " + instrument->Key() + "|" + channel->Key() + " " + channel->Alias() +
                " on " + channel->LoggerChannel(),
            channel->INPCode());
    }
  }
  for (int16_t i = 1; i <= scheme.Outputs()->Count(); ++i) {
    const OutputPtr output = scheme.Outputs()->Item(i);
    block("output " + output->Key() + " true", output->TrueCode());
    block("output " + output->Key() + " false", output->FalseCode());
  }
  for (int16_t i = 1; i <= scheme.Events()->Count(); ++i) {
    const EventPtr event = scheme.Events()->Item(i);
    block("event " + event->Key() + " true", event->TrueCode());
    block("event " + event->Key() + " false", event->FalseCode());
  }
  return text;
}

int SchemeCompile(const SchemeCompileOptions& o) {
  const SchemePtr scheme = OpenScheme(o.scheme);
  auto& set = *scheme->Instruments();
  set.Save();
  set.BeforeWrite();
  set.BeforeCompile();
  scheme->Save();
  const std::string listing = ProgramListing(*scheme);
  if (!o.output.empty()) {
    std::ofstream file(o.output, std::ios::binary);
    file << listing;
    if (!file.flush()) throw Error(err::kPathFileAccess, "cannot write " + o.output);
  }
  ordered_json report = {{"scheme", o.scheme},
                         {"output", o.output},
                         {"errors", ErrorList(*set.Errors())},
                         {"listing", listing}};
  Report(report, o.json, [](const ordered_json& r) {
    PrintErrors(r["errors"]);
    const std::string output = r["output"];
    if (output.empty()) {
      std::cout << r["listing"].get<std::string>();
    } else {
      std::cout << "program listing written to " << output << "\n";
    }
  });
  return set.Errors()->Fatal() ? kExitFailure : kExitOk;
}

std::string One(std::vector<std::string>& args, const char* what) {
  if (args.empty()) throw UsageError(std::string("no ") + what + " given");
  std::string value = args.front();
  args.erase(args.begin());
  return value;
}

void NoMore(const std::vector<std::string>& args) {
  if (!args.empty()) throw UsageError("too many arguments");
}

}  // namespace

int RunScheme(const std::vector<std::string>& arguments) {
  std::vector<std::string> args = arguments;
  if (args.empty()) throw UsageError("no subcommand given (new, add, remove, show, compile)");
  const std::string sub = One(args, "subcommand");
  if (sub == "new") {
    SchemeNewOptions o;
    o.loggers = TakeOption(args, "--loggers").value_or("");
    o.logger = TakeOption(args, "--logger").value_or("");
    while (auto library = TakeOption(args, "--library")) o.libraries.push_back(*library);
    RejectUnknownOptions(args);
    o.scheme = One(args, "SCHEME");
    NoMore(args);
    if (o.loggers.empty() || o.logger.empty())
      throw UsageError("--loggers FILE and --logger KEY are required");
    return SchemeNew(o);
  }
  if (sub == "add") {
    SchemeAddOptions o;
    o.json = TakeFlag(args, "--json");
    o.library = TakeOption(args, "--library").value_or("");
    o.before = TakeOption(args, "--before");
    o.after = TakeOption(args, "--after");
    RejectUnknownOptions(args);
    if (o.before && o.after) throw UsageError("--before and --after exclude each other");
    o.scheme = One(args, "SCHEME");
    o.catCode = One(args, "CATCODE");
    NoMore(args);
    return SchemeAdd(o);
  }
  if (sub == "remove") {
    SchemeRemoveOptions o;
    RejectUnknownOptions(args);
    o.scheme = One(args, "SCHEME");
    o.key = One(args, "KEY");
    NoMore(args);
    return SchemeRemove(o);
  }
  if (sub == "show") {
    SchemeShowOptions o;
    o.json = TakeFlag(args, "--json");
    RejectUnknownOptions(args);
    o.scheme = One(args, "SCHEME");
    NoMore(args);
    return SchemeShow(o);
  }
  if (sub == "compile") {
    SchemeCompileOptions o;
    o.json = TakeFlag(args, "--json");
    o.output = TakeOption(args, "-o").value_or("");
    RejectUnknownOptions(args);
    o.scheme = One(args, "SCHEME");
    NoMore(args);
    return SchemeCompile(o);
  }
  throw UsageError("unknown subcommand " + sub);
}

}  // namespace corvale::cli

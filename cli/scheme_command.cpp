// corvale scheme new|add|remove|show|compile: the scheme workflow on a corvale::Scheme. The
// entries of the scheme's error list are the command's problems (standard error, "errors" in
// JSON, exit status 1); the rest is the report, as text or one JSON document.
#include <cstdio>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "cli/cli_util.h"
#include "cli/command.h"
#include "cli/commands.h"
#include "cli/report.h"
#include "corvale/core/atomic_file.h"
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

namespace {

using nlohmann::ordered_json;

std::string Hex(int32_t number) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%08X", static_cast<uint32_t>(number));
  return text;
}

// Every entry of the error list as a problem of the command.
void ReportErrors(Report& report, const clsErrors& errors) {
  for (int16_t i = 1; i <= errors.Count(); ++i) {
    const ErrorPtr e = errors.Item(i);
    report.Problem(Hex(e->Number()) + (e->Fatal() ? " fatal: " : ": ") + e->Description() + " (" +
                       e->Source() + ")",
                   {{"number", Hex(e->Number())},
                    {"fatal", e->Fatal()},
                    {"description", e->Description()},
                    {"source", e->Source()}});
  }
}

// The scheme of a file; null, with the problem reported, when the file is no scheme.
SchemePtr OpenScheme(Report& report, const std::string& path) {
  auto scheme = std::make_shared<Scheme>();
  if (scheme->Load(path)) return scheme;
  if (scheme->ParseError().errorCode != 0) {
    ReportParseError(report, path, scheme->ParseError());
  } else {
    report.Problem(Printable(path) + ": not a scheme (its root is not SCHEME)", {{"file", path}});
  }
  return nullptr;
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

void PrintChannels(std::ostream& out, const ordered_json& channels) {
  for (const auto& c : channels) {
    out << "    " << Text(c["alias"]) << "  " << Text(c["type"]) << "  ";
    const std::string lc = Text(c["loggerChannel"]);
    out << (lc.empty() ? (c["enabled"].get<bool>() ? "(no logger channel)" : "(disabled)") : lc);
    if (!c["resources"].empty()) {
      out << "  holds";
      for (const auto& r : c["resources"]) out << " " << Text(r);
    }
    out << "\n";
  }
}

// The program text the scheme contributes to the logger program, block by block, each block
// after a comment line saying where it comes from.
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

}  // namespace

int RunSchemeNew(const SchemeNewOptions& o) {
  Report report(o.json);
  auto loggers = std::make_shared<clsLoggerDefs>();
  if (!loggers->Load(o.loggers)) {
    ReportParseError(report, o.loggers, loggers->ParseError());
    return report.Finish(nullptr, nullptr);
  }
  const LoggerDefPtr logger = loggers->Item(o.logger);
  auto scheme = std::make_shared<Scheme>();
  scheme->New(o.logger, *logger, o.libraries);
  ReportErrors(report, *scheme->Instruments()->Errors());
  // A scheme whose libraries cannot all be opened is not written.
  if (!report.Failed()) scheme->Save(o.scheme);
  ordered_json content = {{"scheme", o.scheme},
                          {"logger", o.logger},
                          {"loggerName", logger->Name()},
                          {"libraries", o.libraries},
                          {"written", !report.Failed()}};
  return report.Finish(content, [](std::ostream& out, const ordered_json& c) {
    if (!c["written"].get<bool>()) return;
    out << Printable(Text(c["scheme"])) << ": new scheme for logger " << Text(c["logger"]) << " ("
        << Text(c["loggerName"]) << ") with " << c["libraries"].size() << " librar"
        << (c["libraries"].size() == 1 ? "y" : "ies") << "\n";
  });
}

int RunSchemeAdd(const SchemeAddOptions& o) {
  Report report(o.json);
  // Held from reading the scheme to replacing it, so that two commands on one scheme
  // follow one another instead of one undoing the other.
  const FileLock lock(o.scheme);
  const SchemePtr scheme = OpenScheme(report, o.scheme);
  if (!scheme) return report.Finish(nullptr, nullptr);
  const InstrumentPtr instrument = scheme->LibraryInstrument(o.catCode, o.library);
  if (!instrument) {
    report.Problem("no library of the scheme has the instrument " + o.catCode +
                       (o.library.empty() ? std::string() : " (library " + o.library + ")"),
                   {{"catCode", o.catCode}});
    return report.Finish(nullptr, nullptr);
  }
  auto& set = *scheme->Instruments();
  const bool added =
      set.Add(instrument, o.before.empty() ? std::nullopt : std::optional<Index>(o.before),
              o.after.empty() ? std::nullopt : std::optional<Index>(o.after));
  bool inScheme = false;
  try {
    inScheme = set.Item(instrument->Key()) == instrument;
  } catch (const Error&) {
  }
  // A refused instrument may have taken channels before it was stopped: the file then keeps
  // the scheme as it was. One that is in the scheme is saved, also when a buddy was refused.
  if (inScheme) scheme->Save();
  ReportErrors(report, *set.Errors());
  if (!added && !report.Failed()) report.Problem("the instrument could not be added");

  ordered_json content = InstrumentReport(*instrument, scheme->Logger());
  content["added"] = added;
  content["inScheme"] = inScheme;
  report.Finish(content, [](std::ostream& out, const ordered_json& c) {
    out << (c["inScheme"].get<bool>() ? "added " : "refused ") << Text(c["key"]) << "  "
        << Text(c["name"]) << "\n";
    if (c["inScheme"].get<bool>()) PrintChannels(out, c["channels"]);
  });
  return added ? kExitOk : kExitFailure;
}

int RunSchemeRemove(const SchemeRemoveOptions& o) {
  Report report(o.json);
  const FileLock lock(o.scheme);
  const SchemePtr scheme = OpenScheme(report, o.scheme);
  if (!scheme) return report.Finish(nullptr, nullptr);
  scheme->Instruments()->Remove(o.key);
  scheme->Save();
  return report.Finish({{"removed", o.key}}, [](std::ostream& out, const ordered_json& c) {
    out << "removed " << Text(c["removed"]) << "\n";
  });
}

int RunSchemeShow(const SchemeShowOptions& o) {
  Report report(o.json);
  const SchemePtr scheme = OpenScheme(report, o.scheme);
  if (!scheme) return report.Finish(nullptr, nullptr);
  const LoggerDefPtr logger = scheme->Logger();
  ordered_json content = {{"scheme", scheme->Name()},
                          {"logger", logger ? logger->Key() : ""},
                          {"loggerName", logger ? logger->Name() : ""}};
  ordered_json instruments = ordered_json::array();
  auto& set = *scheme->Instruments();
  for (int16_t i = 1; i <= set.Count(); ++i)
    instruments.push_back(InstrumentReport(*set.Item(i), logger));
  content["instruments"] = instruments;

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
  content["resources"] = resources;

  ordered_json outputs = ordered_json::array();
  for (int16_t i = 1; i <= scheme->Outputs()->Count(); ++i) {
    const OutputPtr output = scheme->Outputs()->Item(i);
    outputs.push_back(
        {{"key", output->Key()}, {"name", output->Name()}, {"parent", output->Parent()}});
  }
  content["outputs"] = outputs;
  ordered_json events = ordered_json::array();
  for (int16_t i = 1; i <= scheme->Events()->Count(); ++i) {
    const EventPtr event = scheme->Events()->Item(i);
    events.push_back({{"key", event->Key()}, {"name", event->Name()}, {"parent", event->Parent()}});
  }
  content["events"] = events;
  ordered_json buffers = ordered_json::array();
  for (int16_t b = 1; b <= scheme->LogBuffers()->Count(); ++b) {
    const LogBufferPtr buffer = scheme->LogBuffers()->Item(b);
    buffers.push_back({{"key", buffer->Key()},
                       {"name", buffer->Name()},
                       {"recordBytes", buffer->LogSize()},
                       {"memoryDays", buffer->MemoryTime()}});
  }
  content["logBuffers"] = buffers;
  ReportErrors(report, *set.Errors());

  return report.Finish(content, [](std::ostream& out, const ordered_json& c) {
    out << "scheme " << Text(c["scheme"]) << " on logger " << Text(c["logger"]) << " ("
        << Text(c["loggerName"]) << ")\ninstruments:" << (c["instruments"].empty() ? " none" : "")
        << "\n";
    for (const auto& i : c["instruments"]) {
      out << "  " << Text(i["key"]) << "  " << Text(i["name"]) << "  from " << Text(i["source"])
          << "\n";
      PrintChannels(out, i["channels"]);
    }
    out << "logger resources:\n";
    std::string free;
    for (const auto& res : c["resources"]) {
      if (res["users"].empty() && res["lock"] == LockModeCaption(0)) {
        free += " " + Text(res["key"]);
        continue;
      }
      out << "  " << Text(res["key"]) << "  " << Text(res["lock"]) << "  users";
      for (const auto& u : res["users"]) out << " " << Text(u);
      out << "\n";
    }
    if (!free.empty()) out << "  free:" << free << "\n";
    for (const char* list : {"outputs", "events"}) {
      out << "scheme " << list << ":" << (c[list].empty() ? " none" : "") << "\n";
      for (const auto& item : c[list])
        out << "  " << Text(item["key"]) << "  " << Text(item["name"]) << "  (from "
            << Text(item["parent"]) << ")\n";
    }
    out << "log buffers:" << (c["logBuffers"].empty() ? " none" : "") << "\n";
    for (const auto& b : c["logBuffers"])
      out << "  " << Text(b["key"]) << "  " << Text(b["name"]) << "  record "
          << Text(b["recordBytes"]) << " bytes, memory lasts " << Text(b["memoryDays"])
          << " days\n";
  });
}

int RunSchemeCompile(const SchemeCompileOptions& o) {
  Report report(o.json);
  const FileLock lock(o.scheme);
  const SchemePtr scheme = OpenScheme(report, o.scheme);
  if (!scheme) return report.Finish(nullptr, nullptr);
  auto& set = *scheme->Instruments();
  set.Save();
  set.BeforeWrite();
  set.BeforeCompile();
  scheme->Save();
  ReportErrors(report, *set.Errors());
  const std::string listing = ProgramListing(*scheme);
  if (!o.output.empty()) {
    std::ofstream file(o.output, std::ios::binary);
    file << listing;
    if (!file.flush()) throw Error(err::kPathFileAccess, "cannot write " + o.output);
  }
  ordered_json content = {{"scheme", o.scheme}, {"output", o.output}, {"listing", listing}};
  return report.Finish(content, [](std::ostream& out, const ordered_json& c) {
    const std::string output = Text(c["output"]);
    if (output.empty()) {
      out << Text(c["listing"]);
    } else {
      out << "program listing written to " << Printable(output) << "\n";
    }
  });
}

void AddSchemeCommand(CLI::App& program) {
  CLI::App& scheme = *program.add_subcommand(
      "scheme",
      "build a scheme: place instruments on its logger, show the allocation, write "
      "the program listing");
  scheme.require_subcommand(1);

  auto made = std::make_shared<SchemeNewOptions>();
  CLI::App& create = *scheme.add_subcommand("new", "start a scheme on one logger definition");
  create.add_option("SCHEME", made->scheme, "the scheme file to write")->required();
  create.add_option("--loggers", made->loggers, "the logger definition file")->required();
  create.add_option("--logger", made->logger, "the key of the logger definition")->required();
  create.add_option("--library", made->libraries, "a library file to open (repeatable)");
  AddJsonFlag(create, made->json);
  OnRun(create, [made] { return RunSchemeNew(*made); });

  auto added = std::make_shared<SchemeAddOptions>();
  CLI::App& add = *scheme.add_subcommand(
      "add", "place an instrument from the scheme's libraries; exit 1 when Add returns false");
  add.add_option("SCHEME", added->scheme, "the scheme file")->required();
  add.add_option("CATCODE", added->catCode, "the instrument's catalogue code")->required();
  add.add_option("--library", added->library, "the Source of the library to take it from");
  CLI::Option* before = add.add_option("--before", added->before, "the scheme key it goes before");
  CLI::Option* after = add.add_option("--after", added->after, "the scheme key it goes after");
  before->excludes(after);
  AddJsonFlag(add, added->json);
  OnRun(add, [added] { return RunSchemeAdd(*added); });

  auto removed = std::make_shared<SchemeRemoveOptions>();
  CLI::App& remove = *scheme.add_subcommand("remove", "remove an instrument by its scheme key");
  remove.add_option("SCHEME", removed->scheme, "the scheme file")->required();
  remove.add_option("KEY", removed->key, "the instrument's scheme key")->required();
  AddJsonFlag(remove, removed->json);
  OnRun(remove, [removed] { return RunSchemeRemove(*removed); });

  auto shown = std::make_shared<SchemeShowOptions>();
  CLI::App& show = *scheme.add_subcommand(
      "show", "the allocation report: instruments, channels, resources, outputs, events, buffers");
  show.add_option("SCHEME", shown->scheme, "the scheme file")->required();
  AddJsonFlag(show, shown->json);
  OnRun(show, [shown] { return RunSchemeShow(*shown); });

  auto compiled = std::make_shared<SchemeCompileOptions>();
  CLI::App& compile = *scheme.add_subcommand(
      "compile",
      "run the Save, BeforeWrite and BeforeCompile passes, save the scheme and write "
      "its program listing");
  compile.add_option("SCHEME", compiled->scheme, "the scheme file")->required();
  compile.add_option("-o,--output", compiled->output,
                     "the listing file (default: standard output)");
  AddJsonFlag(compile, compiled->json);
  OnRun(compile, [compiled] { return RunSchemeCompile(*compiled); });
}

}  // namespace corvale::cli

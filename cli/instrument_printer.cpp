#include "cli/instrument_printer.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "corvale/core/convert.h"
#include "corvale/instruments/buddy_instruments.h"
#include "corvale/instruments/cdt_settings.h"
#include "corvale/instruments/events.h"
#include "corvale/instruments/files.h"
#include "corvale/instruments/inst_channels.h"
#include "corvale/instruments/outputs.h"
#include "corvale/resources/logger_resource_list.h"
#include "corvale/resources/logger_resource_request.h"

namespace corvale::cli {
namespace {

using Fields = std::vector<std::pair<std::string, std::string>>;

constexpr std::string_view kStandardClass = "Corvale2.clsStdInstrument";

// Empty text, or text without a ".", names the standard class.
std::string EffectiveBaseClass(const std::string& text) {
  if (text.find('.') == std::string::npos) return std::string(kStandardClass);
  return text;
}

// As the document writes it, not widened to a double's digits.
double SingleNumber(float value) { return TextToDouble(SingleText(value)); }

// A day number (days since 1899-12-30, the fraction the time of day) as a calendar date.
std::string DateText(double dayNumber) {
  if (dayNumber == 0 || !std::isfinite(dayNumber) || std::fabs(dayNumber) > 3e6) return "";
  using namespace std::chrono;
  const double whole = std::floor(dayNumber);
  const auto seconds = static_cast<long>(std::lround((dayNumber - whole) * 86400.0));
  const year_month_day date{sys_days{1899y / December / 30} + days{static_cast<long>(whole)}};
  char text[40];
  std::snprintf(text, sizeof text, "%04d-%02u-%02u %02ld:%02ld:%02ld", int(date.year()),
                unsigned(date.month()), unsigned(date.day()), seconds / 3600, seconds / 60 % 60,
                seconds % 60);
  return text;
}

std::string Item(std::string_view element, int position, const std::string& key) {
  return std::string(element) + " " + IntegerText(position) + (key.empty() ? "" : " (" + key + ")");
}

ordered_json Channels(IInstrument& instrument, std::string& where) {
  ordered_json list = ordered_json::array();
  auto channels = instrument.Channels();
  const int count = channels ? channels->Count() : 0;
  for (int i = 1; i <= count; ++i) {
    where = Item("channel", i, "");
    auto channel = channels->Item(i);
    where = Item("channel", i, channel->Key());
    auto settings = channel->CDTSettings();
    list.push_back({{"key", channel->Key()},
                    {"label", channel->Label()},
                    {"channelType", channel->ChannelType()},
                    {"channelTypeName", ChannelTypeName(channel->ChannelType())},
                    {"inputDataType", channel->InputDataType()},
                    {"dataTypeName", DataTypeName(channel->InputDataType())},
                    {"numberBytes", channel->NumberBytes()},
                    {"enabled", channel->Enabled()},
                    {"virtual", channel->Virtual()},
                    {"units", channel->Units()},
                    {"minimum", channel->Minimum()},
                    {"maximum", channel->Maximum()},
                    {"multiplier", channel->Multiplier()},
                    {"offset", channel->Offset()},
                    {"logMask", channel->LogMask()},
                    {"alias", channel->Alias()},
                    {"format", channel->Format()},
                    {"formula", channel->Formula()},
                    {"baseAddress", channel->BaseAddress()},
                    {"loggerChannel", channel->LoggerChannel()},
                    {"window", channel->Window()},
                    {"cdtSettings", settings ? settings->Count() : 0},
                    {"inpCode", channel->INPCode()}});
  }
  return list;
}

ordered_json Events(IInstrument& instrument, std::string& where) {
  ordered_json list = ordered_json::array();
  auto events = instrument.Events();
  const int count = events ? events->Count() : 0;
  for (int i = 1; i <= count; ++i) {
    where = Item("event", i, "");
    auto event = events->Item(i);
    where = Item("event", i, event->Key());
    list.push_back({{"key", event->Key()},
                    {"name", event->Name()},
                    {"id", event->ID()},
                    {"condition", ConditionText(event->ID())},
                    {"chanA", event->ChanA()},
                    {"chanAType", event->ChanAType()},
                    {"chanB", event->ChanB()},
                    {"chanBType", event->ChanBType()},
                    {"chanC", event->ChanC()},
                    {"chanCType", event->ChanCType()},
                    {"enabled", event->Enabled()},
                    {"outputChannel", event->OutputChannel()},
                    {"logToBuffer", event->LogToBuffer()},
                    {"loadToScheme", event->LoadToScheme()},
                    {"description", event->Description()},
                    {"trueCode", event->TrueCode()},
                    {"falseCode", event->FalseCode()}});
  }
  return list;
}

ordered_json Outputs(IInstrument& instrument, std::string& where) {
  ordered_json list = ordered_json::array();
  auto outputs = instrument.Outputs();
  const int count = outputs ? outputs->Count() : 0;
  for (int i = 1; i <= count; ++i) {
    where = Item("output", i, "");
    auto output = outputs->Item(i);
    where = Item("output", i, output->Key());
    auto resources = output->Resources();
    list.push_back({{"key", output->Key()},
                    {"name", output->Name()},
                    {"loggerChannel", output->LoggerChannel()},
                    {"resourceRequests", resources ? ordered_json(resources->Count()) : nullptr},
                    {"loadToScheme", output->LoadToScheme()},
                    {"description", output->Description()},
                    {"trueCode", output->TrueCode()},
                    {"falseCode", output->FalseCode()}});
  }
  return list;
}

ordered_json CDTSettings(IInstrument& instrument, std::string& where) {
  ordered_json list = ordered_json::array();
  auto settings = instrument.CDTSettings();
  const int count = settings ? settings->Count() : 0;
  for (int i = 1; i <= count; ++i) {
    where = Item("CDT setting", i, "");
    auto setting = settings->Item(i);
    list.push_back({{"key", setting->Key()},
                    {"address", setting->Address()},
                    {"mask", setting->Mask()},
                    {"value", setting->Value()}});
  }
  return list;
}

ordered_json Files(IInstrument& instrument, std::string& where) {
  ordered_json list = ordered_json::array();
  auto files = instrument.Files();
  const int count = files ? files->Count() : 0;
  for (int i = 1; i <= count; ++i) {
    where = Item("file", i, "");
    auto file = files->Item(i);
    list.push_back({{"file", file->File()},
                    {"family", file->Family()},
                    {"version", SingleNumber(file->Version())},
                    {"date", DateText(file->FileDate())}});
  }
  return list;
}

ordered_json Buddies(IInstrument& instrument, std::string& where) {
  ordered_json list = ordered_json::array();
  where = "buddies";
  auto buddies = instrument.Buddies();
  const int count = buddies ? buddies->Count() : 0;
  for (int i = 1; i <= count; ++i) list.push_back(buddies->Item(i));
  return list;
}

ordered_json Requests(IInstrument& instrument, std::string& where) {
  ordered_json list = ordered_json::array();
  auto requests = instrument.Resources();
  const int count = requests ? requests->Count() : 0;
  for (int i = 1; i <= count; ++i) {
    where = Item("resource request", i, "");
    auto request = requests->Item(i);
    list.push_back({{"key", request->Key()},
                    {"resource", request->Resource()},
                    {"lock", request->Locked()},
                    {"lockCaption", LockModeCaption(request->Locked())}});
  }
  return list;
}

// Text views.

std::string Quoted(const ordered_json& text) { return "\"" + Text(text) + "\""; }

// "name: value; name: value", leaving out empty values.
void PrintFields(std::ostream& out, std::string_view indent, const Fields& fields) {
  std::string line;
  for (const auto& [name, value] : fields) {
    if (value.empty()) continue;
    if (!line.empty()) line += "; ";
    line += name + ": " + value;
  }
  if (!line.empty()) out << indent << line << "\n";
}

// Program text, one line of the logger's program per output line.
void PrintCode(std::ostream& out, std::string_view indent, std::string_view label,
               const ordered_json& text) {
  const std::string code = Text(text);
  if (code.empty()) return;
  out << indent << label << ":\n";
  size_t start = 0;
  while (start <= code.size()) {
    size_t end = code.find_first_of("\r\n", start);
    if (end == std::string::npos) end = code.size();
    out << indent << "  " << code.substr(start, end - start) << "\n";
    if (end == code.size()) break;
    start = end + (code.compare(end, 2, "\r\n") == 0 ? 2 : 1);
  }
}

void Heading(std::ostream& out, std::string_view title, const ordered_json& list) {
  out << title << " (" << list.size() << ")\n";
}

// "name (kind)" for an event operand of a known kind.
std::string OperandText(const ordered_json& operand, const ordered_json& type) {
  static const char* const kKinds[] = {"", "constant", "channel", "event"};
  const int kind = type.get<int>();
  if (kind <= 0 || kind > 3) return Text(operand);
  return Text(operand) + " (" + kKinds[kind] + ")";
}

void PrintChannels(std::ostream& out, const ordered_json& channels) {
  Heading(out, "Channels", channels);
  int i = 0;
  for (const auto& channel : channels) {
    out << "  " << ++i << ". " << Text(channel["key"]) << " " << Quoted(channel["label"]) << "\n";
    PrintFields(out, "       ",
                {{"channel type", Coded(channel["channelTypeName"], channel["channelType"])},
                 {"data type", Coded(channel["dataTypeName"], channel["inputDataType"])},
                 {"bytes", Text(channel["numberBytes"])},
                 {"enabled", Text(channel["enabled"])},
                 {"virtual", channel["virtual"].get<bool>() ? "yes" : ""}});
    PrintFields(out, "       ",
                {{"units", Text(channel["units"])},
                 {"minimum", Text(channel["minimum"])},
                 {"maximum", Text(channel["maximum"])},
                 {"multiplier", Text(channel["multiplier"])},
                 {"offset", Text(channel["offset"])},
                 {"log mask", Text(channel["logMask"])}});
    PrintFields(out, "       ",
                {{"alias", Text(channel["alias"])},
                 {"format", Text(channel["format"])},
                 {"formula", Text(channel["formula"])},
                 {"base address", Text(channel["baseAddress"])},
                 {"logger channel", Text(channel["loggerChannel"])},
                 {"window", Text(channel["window"])}});
    if (channel["cdtSettings"].get<int>() > 0)
      out << "       CDT settings: " << Text(channel["cdtSettings"]) << "\n";
    PrintCode(out, "       ", "program text", channel["inpCode"]);
  }
}

void PrintEvents(std::ostream& out, const ordered_json& events) {
  Heading(out, "Events", events);
  int i = 0;
  for (const auto& event : events) {
    out << "  " << ++i << ". " << Text(event["key"]) << " " << Quoted(event["name"]) << "\n";
    PrintFields(out, "       ",
                {{"condition", Coded(event["condition"], event["id"])},
                 {"A", OperandText(event["chanA"], event["chanAType"])},
                 {"B", OperandText(event["chanB"], event["chanBType"])},
                 {"C", OperandText(event["chanC"], event["chanCType"])}});
    PrintFields(out, "       ",
                {{"enabled", Text(event["enabled"])},
                 {"output", Text(event["outputChannel"])},
                 {"log to buffer", Text(event["logToBuffer"])},
                 {"scheme level", event["loadToScheme"].get<bool>() ? "yes" : ""},
                 {"description", Text(event["description"])}});
    PrintCode(out, "       ", "when true", event["trueCode"]);
    PrintCode(out, "       ", "when false", event["falseCode"]);
  }
}

void PrintOutputs(std::ostream& out, const ordered_json& outputs) {
  Heading(out, "Outputs", outputs);
  int i = 0;
  for (const auto& output : outputs) {
    out << "  " << ++i << ". " << Text(output["key"]) << " " << Quoted(output["name"]) << "\n";
    PrintFields(out, "       ",
                {{"logger channel", Text(output["loggerChannel"])},
                 {"resource requests", Text(output["resourceRequests"])},
                 {"scheme level", output["loadToScheme"].get<bool>() ? "yes" : ""},
                 {"description", Text(output["description"])}});
    PrintCode(out, "       ", "when true", output["trueCode"]);
    PrintCode(out, "       ", "when false", output["falseCode"]);
  }
}

}  // namespace

ordered_json InstrumentSummary(IInstrument& instrument, std::string& where) {
  where = "";
  ordered_json summary = {{"catCode", instrument.CatCode()},
                          {"name", instrument.Name()},
                          {"family", instrument.Family()},
                          {"version", SingleNumber(instrument.Version())},
                          {"baseClass", EffectiveBaseClass(instrument.BaseClass())}};
  where = "channels";
  auto channels = instrument.Channels();
  summary["channels"] = channels ? channels->Count() : 0;
  where = "events";
  auto events = instrument.Events();
  summary["events"] = events ? events->Count() : 0;
  where = "outputs";
  auto outputs = instrument.Outputs();
  summary["outputs"] = outputs ? outputs->Count() : 0;
  where = "";
  return summary;
}

ordered_json InstrumentDetails(IInstrument& instrument, std::string& where) {
  where = "";
  ordered_json details = {{"catCode", instrument.CatCode()},
                          {"name", instrument.Name()},
                          {"description", instrument.Description()},
                          {"family", instrument.Family()},
                          {"keywords", instrument.Keywords()},
                          {"version", SingleNumber(instrument.Version())},
                          {"baseClass", EffectiveBaseClass(instrument.BaseClass())},
                          {"loaderClass", instrument.LoaderClass()},
                          {"setupForm", instrument.SetupForm()},
                          {"loggerTypes", instrument.LoggerTypes()},
                          {"minimumBuildRevision", instrument.MinimumBuildRevision()},
                          {"singleUse", instrument.SingleUse()},
                          {"readOnly", instrument.ReadOnly()},
                          {"visible", instrument.Visible()},
                          {"key", instrument.Key()},
                          {"source", instrument.Source()},
                          {"iconSource", instrument.IconSource()},
                          {"tag", instrument.Tag()}};
  details["channels"] = Channels(instrument, where);
  details["events"] = Events(instrument, where);
  details["outputs"] = Outputs(instrument, where);
  details["cdtSettings"] = CDTSettings(instrument, where);
  details["files"] = Files(instrument, where);
  details["buddies"] = Buddies(instrument, where);
  details["resources"] = Requests(instrument, where);
  where = "program text";
  details["inpCode"] = instrument.INPCode();
  where = "";
  return details;
}

void PrintInstrumentSummary(std::ostream& out, const ordered_json& summary) {
  out << Text(summary["catCode"]) << " " << Quoted(summary["name"])
      << " family=" << Text(summary["family"]) << " version=" << Text(summary["version"])
      << " base=" << Text(summary["baseClass"]) << " channels=" << Text(summary["channels"])
      << " events=" << Text(summary["events"]) << " outputs=" << Text(summary["outputs"]) << "\n";
}

void PrintInstrument(std::ostream& out, const ordered_json& details) {
  out << "Instrument " << Text(details["catCode"]) << "\n";
  for (const auto& [label, field] : {std::pair{"Name", "name"},
                                     {"Description", "description"},
                                     {"Family", "family"},
                                     {"Keywords", "keywords"},
                                     {"Version", "version"},
                                     {"Base class", "baseClass"},
                                     {"Loader class", "loaderClass"},
                                     {"Setup form", "setupForm"},
                                     {"Logger types", "loggerTypes"},
                                     {"Minimum build", "minimumBuildRevision"},
                                     {"Single use", "singleUse"},
                                     {"Read only", "readOnly"},
                                     {"Visible", "visible"},
                                     {"Key", "key"},
                                     {"Source", "source"},
                                     {"Icon source", "iconSource"},
                                     {"Tag", "tag"}}) {
    const std::string value = Text(details[field]);
    if (value.empty()) continue;
    std::string caption = std::string(label) + ":";
    caption.resize(16, ' ');
    out << "  " << caption << value << "\n";
  }
  PrintChannels(out, details["channels"]);
  PrintEvents(out, details["events"]);
  PrintOutputs(out, details["outputs"]);
  Heading(out, "CDT settings", details["cdtSettings"]);
  int i = 0;
  for (const auto& setting : details["cdtSettings"]) {
    out << "  " << ++i << ". " << Text(setting["key"]) << "\n";
    PrintFields(out, "       ",
                {{"address", Text(setting["address"])},
                 {"mask", Text(setting["mask"])},
                 {"value", Text(setting["value"])}});
  }
  Heading(out, "Files", details["files"]);
  i = 0;
  for (const auto& file : details["files"]) {
    out << "  " << ++i << ". " << Text(file["file"]) << "\n";
    PrintFields(out, "       ",
                {{"family", Text(file["family"])},
                 {"version", file["version"] != 0 ? Text(file["version"]) : ""},
                 {"date", Text(file["date"])}});
  }
  Heading(out, "Buddies", details["buddies"]);
  i = 0;
  for (const auto& buddy : details["buddies"]) out << "  " << ++i << ". " << Text(buddy) << "\n";
  Heading(out, "Resource requests", details["resources"]);
  i = 0;
  for (const auto& request : details["resources"]) {
    out << "  " << ++i << ". " << Text(request["key"]) << "\n";
    PrintFields(out, "       ",
                {{"resource", Text(request["resource"])},
                 {"lock", Coded(request["lockCaption"], request["lock"])}});
  }
  if (Text(details["inpCode"]).empty()) {
    out << "Program text (none)\n";
  } else {
    PrintCode(out, "", "Program text", details["inpCode"]);
  }
}

}  // namespace corvale::cli

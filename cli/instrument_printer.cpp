#include "cli/instrument_printer.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "corvale/binding/node_access.h"
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

// Reads properties, keeping in `where` the part and the element being read, so that a value the
// model cannot convert is reported where it stands. Braced lists evaluate in order, so the
// reads of one object may stand in one list.
class Reader {
 public:
  Reader(std::string& where, std::string part) : where_(where), part_(std::move(part)) {
    where_ = part_;
  }
  template <class Get>
  auto operator()(std::string_view element, Get get) {
    where_ = (part_.empty() ? "" : part_ + ", ") + std::string(element);
    auto value = get();
    where_ = part_;
    return value;
  }

 private:
  std::string& where_;
  std::string part_;
};

template <class Collection>
int CountOf(const std::shared_ptr<Collection>& collection) {
  return collection ? collection->Count() : 0;
}

ordered_json Channels(IInstrument& instrument, std::string& where) {
  ordered_json list = ordered_json::array();
  where = "channels";
  auto channels = instrument.Channels();
  for (int i = 1, count = CountOf(channels); i <= count; ++i) {
    where = Item("channel", i, "");
    auto channel = channels->Item(i);
    Reader read(where, Item("channel", i, channel->Key()));
    const int32_t channelType = read("CHANNELTYPE", [&] { return channel->ChannelType(); });
    const int32_t dataType = read("INPUTDATATYPE", [&] { return channel->InputDataType(); });
    list.push_back(
        {{"key", channel->Key()},
         {"label", channel->Label()},
         {"channelType", channelType},
         {"channelTypeName", ChannelTypeName(channelType)},
         {"inputDataType", dataType},
         {"dataTypeName", DataTypeName(dataType)},
         {"numberBytes", read("NUMBERBYTES", [&] { return channel->NumberBytes(); })},
         {"enabled", read("ENABLED", [&] { return channel->Enabled(); })},
         {"virtual", read("VIRTUAL", [&] { return channel->Virtual(); })},
         {"units", channel->Units()},
         {"minimum", read("MINIMUM", [&] { return channel->Minimum(); })},
         {"maximum", read("MAXIMUM", [&] { return channel->Maximum(); })},
         {"multiplier", read("MULTIPLIER", [&] { return channel->Multiplier(); })},
         {"offset", read("OFFSET", [&] { return channel->Offset(); })},
         {"logMask", read("LOGMASK", [&] { return channel->LogMask(); })},
         {"alias", channel->Alias()},
         {"format", channel->Format()},
         {"formula", channel->Formula()},
         {"baseAddress", channel->BaseAddress()},
         {"loggerChannel", channel->LoggerChannel()},
         {"window", channel->Window()},
         {"cdtSettings", read("CDTSETTINGS", [&] { return CountOf(channel->CDTSettings()); })},
         {"inpCode", channel->INPCode()}});
  }
  return list;
}

ordered_json Events(IInstrument& instrument, std::string& where) {
  ordered_json list = ordered_json::array();
  where = "events";
  auto events = instrument.Events();
  for (int i = 1, count = CountOf(events); i <= count; ++i) {
    where = Item("event", i, "");
    auto event = events->Item(i);
    Reader read(where, Item("event", i, event->Key()));
    const int32_t id = read("ID", [&] { return event->ID(); });
    list.push_back({{"key", event->Key()},
                    {"name", event->Name()},
                    {"id", id},
                    {"condition", ConditionText(id)},
                    {"chanA", event->ChanA()},
                    {"chanAType", read("CHANATYPE", [&] { return event->ChanAType(); })},
                    {"chanB", event->ChanB()},
                    {"chanBType", read("CHANBTYPE", [&] { return event->ChanBType(); })},
                    {"chanC", event->ChanC()},
                    {"chanCType", read("CHANCTYPE", [&] { return event->ChanCType(); })},
                    {"enabled", read("ENABLED", [&] { return event->Enabled(); })},
                    {"outputChannel", event->OutputChannel()},
                    {"logToBuffer", event->LogToBuffer()},
                    {"loadToScheme", read("LOADTOSCHEME", [&] { return event->LoadToScheme(); })},
                    {"description", event->Description()},
                    {"trueCode", event->TrueCode()},
                    {"falseCode", event->FalseCode()}});
  }
  return list;
}

ordered_json Outputs(IInstrument& instrument, std::string& where) {
  ordered_json list = ordered_json::array();
  where = "outputs";
  auto outputs = instrument.Outputs();
  for (int i = 1, count = CountOf(outputs); i <= count; ++i) {
    where = Item("output", i, "");
    auto output = outputs->Item(i);
    Reader read(where, Item("output", i, output->Key()));
    auto resources = read("RESOURCES", [&] { return output->Resources(); });
    list.push_back({{"key", output->Key()},
                    {"name", output->Name()},
                    {"loggerChannel", output->LoggerChannel()},
                    {"resourceRequests", resources ? ordered_json(resources->Count()) : nullptr},
                    {"loadToScheme", read("LOADTOSCHEME", [&] { return output->LoadToScheme(); })},
                    {"description", output->Description()},
                    {"trueCode", output->TrueCode()},
                    {"falseCode", output->FalseCode()}});
  }
  return list;
}

ordered_json CDTSettings(IInstrument& instrument, std::string& where) {
  ordered_json list = ordered_json::array();
  where = "CDT settings";
  auto settings = instrument.CDTSettings();
  for (int i = 1, count = CountOf(settings); i <= count; ++i) {
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
  where = "files";
  auto files = instrument.Files();
  for (int i = 1, count = CountOf(files); i <= count; ++i) {
    where = Item("file", i, "");
    auto file = files->Item(i);
    Reader read(where, Item("file", i, ""));
    list.push_back({{"file", file->File()},
                    {"family", file->Family()},
                    {"version", read("VERSION", [&] { return SingleNumber(file->Version()); })},
                    {"date", read("FILEDATE", [&] { return DateText(file->FileDate()); })}});
  }
  return list;
}

ordered_json Buddies(IInstrument& instrument, std::string& where) {
  ordered_json list = ordered_json::array();
  where = "buddies";
  auto buddies = instrument.Buddies();
  for (int i = 1, count = CountOf(buddies); i <= count; ++i) list.push_back(buddies->Item(i));
  return list;
}

ordered_json Requests(IInstrument& instrument, std::string& where) {
  ordered_json list = ordered_json::array();
  where = "resource requests";
  auto requests = instrument.Resources();
  for (int i = 1, count = CountOf(requests); i <= count; ++i) {
    where = Item("resource request", i, "");
    auto request = requests->Item(i);
    Reader read(where, Item("resource request", i, request->Key()));
    const int32_t lock = read("LOCK", [&] { return request->Locked(); });
    list.push_back({{"key", request->Key()},
                    {"resource", request->Resource()},
                    {"lock", lock},
                    {"lockCaption", LockModeCaption(lock)}});
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
  Reader read(where, "");
  return {{"catCode", instrument.CatCode()},
          {"name", instrument.Name()},
          {"family", instrument.Family()},
          {"version", read("VERSION", [&] { return SingleNumber(instrument.Version()); })},
          {"baseClass", EffectiveBaseClass(instrument.BaseClass())},
          {"channels", read("CHANNELS", [&] { return CountOf(instrument.Channels()); })},
          {"events", read("EVENTS", [&] { return CountOf(instrument.Events()); })},
          {"outputs", read("OUTPUTS", [&] { return CountOf(instrument.Outputs()); })}};
}

ordered_json InstrumentDetails(IInstrument& instrument, std::string& where) {
  Reader read(where, "");
  ordered_json details = {
      {"catCode", instrument.CatCode()},
      {"name", instrument.Name()},
      {"description", instrument.Description()},
      {"family", instrument.Family()},
      {"keywords", instrument.Keywords()},
      {"version", read("VERSION", [&] { return SingleNumber(instrument.Version()); })},
      {"baseClass", EffectiveBaseClass(instrument.BaseClass())},
      {"loaderClass", instrument.LoaderClass()},
      {"setupForm", instrument.SetupForm()},
      {"loggerTypes", read("LOGGERTYPES", [&] { return instrument.LoggerTypes(); })},
      {"minimumBuildRevision", instrument.MinimumBuildRevision()},
      {"singleUse", read("SINGLEUSE", [&] { return instrument.SingleUse(); })},
      {"readOnly", read("READONLY", [&] { return instrument.ReadOnly(); })},
      {"visible", read("VISIBLE", [&] { return instrument.Visible(); })},
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
  where = "INPCODE";
  details["inpCode"] = instrument.INPCode();
  where = "";
  return details;
}

std::optional<ordered_json> ReadInstrument(
    Report& report, const std::string& file, const xml::Node& element, size_t position,
    const std::function<ordered_json(std::string& where)>& read) {
  std::string where;
  try {
    return read(where);
  } catch (const Error& error) {
    const std::string catCode = GetNodeText(element, "CATCODE", "");
    report.Problem(
        Printable(file) + ": " + Item("instrument", static_cast<int>(position), catCode) +
            (where.empty() ? "" : ", " + where),
        error,
        {{"file", file}, {"instrument", catCode}, {"position", position}, {"element", where}});
    return std::nullopt;
  }
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

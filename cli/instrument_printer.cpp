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

std::string YesNo(bool value) { return value ? "yes" : "no"; }

// Empty text, or text without a ".", names the standard class.
std::string EffectiveBaseClass(const std::string& text) {
  if (text.find('.') == std::string::npos) return std::string(kStandardClass);
  return text;
}

std::string Quoted(const std::string& text) { return "\"" + text + "\""; }

std::string Coded(const std::string& name, int32_t code) {
  const std::string number = IntegerText(code);
  return name.empty() ? number : name + " (" + number + ")";
}

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
               const std::string& code) {
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

void Heading(std::ostream& out, std::string_view title, int count) {
  out << title << " (" << count << ")\n";
}

void PrintChannels(std::ostream& out, IInstrument& instrument) {
  auto channels = instrument.Channels();
  const int count = channels ? channels->Count() : 0;
  Heading(out, "Channels", count);
  for (int i = 1; i <= count; ++i) {
    auto channel = channels->Item(i);
    out << "  " << i << ". " << channel->Key() << " " << Quoted(channel->Label()) << "\n";
    const int32_t dataType = channel->InputDataType();
    PrintFields(
        out, "       ",
        {{"channel type", Coded(ChannelTypeName(channel->ChannelType()), channel->ChannelType())},
         {"data type", Coded(DataTypeName(dataType), dataType)},
         {"bytes", IntegerText(channel->NumberBytes())},
         {"enabled", YesNo(channel->Enabled())},
         {"virtual", channel->Virtual() ? "yes" : ""}});
    PrintFields(out, "       ",
                {{"units", channel->Units()},
                 {"minimum", DoubleText(channel->Minimum())},
                 {"maximum", DoubleText(channel->Maximum())},
                 {"multiplier", DoubleText(channel->Multiplier())},
                 {"offset", DoubleText(channel->Offset())},
                 {"log mask", IntegerText(channel->LogMask())}});
    PrintFields(out, "       ",
                {{"alias", channel->Alias()},
                 {"format", channel->Format()},
                 {"formula", channel->Formula()},
                 {"base address", channel->BaseAddress()},
                 {"logger channel", channel->LoggerChannel()},
                 {"window", channel->Window()}});
    if (auto settings = channel->CDTSettings(); settings && settings->Count() > 0)
      out << "       CDT settings: " << settings->Count() << "\n";
    PrintCode(out, "       ", "program text", channel->INPCode());
  }
}

std::string OperandText(const std::string& operand, int32_t type) {
  static const char* const kKinds[] = {"", "constant", "channel", "event"};
  if (type <= 0 || type > 3) return operand;
  return operand + " (" + kKinds[type] + ")";
}

void PrintEvents(std::ostream& out, IInstrument& instrument) {
  auto events = instrument.Events();
  const int count = events ? events->Count() : 0;
  Heading(out, "Events", count);
  for (int i = 1; i <= count; ++i) {
    auto event = events->Item(i);
    out << "  " << i << ". " << event->Key() << " " << Quoted(event->Name()) << "\n";
    const int32_t id = event->ID();
    PrintFields(out, "       ",
                {{"condition", Coded(ConditionText(id), id)},
                 {"A", OperandText(event->ChanA(), event->ChanAType())},
                 {"B", OperandText(event->ChanB(), event->ChanBType())},
                 {"C", OperandText(event->ChanC(), event->ChanCType())}});
    PrintFields(out, "       ",
                {{"enabled", YesNo(event->Enabled())},
                 {"output", event->OutputChannel()},
                 {"log to buffer", event->LogToBuffer()},
                 {"scheme level", event->LoadToScheme() ? "yes" : ""},
                 {"description", event->Description()}});
    PrintCode(out, "       ", "when true", event->TrueCode());
    PrintCode(out, "       ", "when false", event->FalseCode());
  }
}

void PrintOutputs(std::ostream& out, IInstrument& instrument) {
  auto outputs = instrument.Outputs();
  const int count = outputs ? outputs->Count() : 0;
  Heading(out, "Outputs", count);
  for (int i = 1; i <= count; ++i) {
    auto output = outputs->Item(i);
    out << "  " << i << ". " << output->Key() << " " << Quoted(output->Name()) << "\n";
    auto resources = output->Resources();
    PrintFields(out, "       ",
                {{"logger channel", output->LoggerChannel()},
                 {"resource requests", resources ? IntegerText(resources->Count()) : ""},
                 {"scheme level", output->LoadToScheme() ? "yes" : ""},
                 {"description", output->Description()}});
    PrintCode(out, "       ", "when true", output->TrueCode());
    PrintCode(out, "       ", "when false", output->FalseCode());
  }
}

void PrintCDTSettings(std::ostream& out, IInstrument& instrument) {
  auto settings = instrument.CDTSettings();
  const int count = settings ? settings->Count() : 0;
  Heading(out, "CDT settings", count);
  for (int i = 1; i <= count; ++i) {
    auto setting = settings->Item(i);
    out << "  " << i << ". " << setting->Key() << "\n";
    PrintFields(
        out, "       ",
        {{"address", setting->Address()}, {"mask", setting->Mask()}, {"value", setting->Value()}});
  }
}

void PrintFiles(std::ostream& out, IInstrument& instrument) {
  auto files = instrument.Files();
  const int count = files ? files->Count() : 0;
  Heading(out, "Files", count);
  for (int i = 1; i <= count; ++i) {
    auto file = files->Item(i);
    out << "  " << i << ". " << file->File() << "\n";
    PrintFields(out, "       ",
                {{"family", file->Family()},
                 {"version", file->Version() != 0 ? SingleText(file->Version()) : ""},
                 {"date", DateText(file->FileDate())}});
  }
}

void PrintBuddies(std::ostream& out, IInstrument& instrument) {
  auto buddies = instrument.Buddies();
  const int count = buddies ? buddies->Count() : 0;
  Heading(out, "Buddies", count);
  for (int i = 1; i <= count; ++i) out << "  " << i << ". " << buddies->Item(i) << "\n";
}

void PrintResources(std::ostream& out, IInstrument& instrument) {
  auto requests = instrument.Resources();
  const int count = requests ? requests->Count() : 0;
  Heading(out, "Resource requests", count);
  for (int i = 1; i <= count; ++i) {
    auto request = requests->Item(i);
    out << "  " << i << ". " << request->Key() << "\n";
    PrintFields(out, "       ",
                {{"resource", request->Resource()},
                 {"lock", Coded(LockModeCaption(request->Locked()), request->Locked())}});
  }
}

}  // namespace

void PrintInstrumentSummary(std::ostream& out, IInstrument& instrument) {
  auto channels = instrument.Channels();
  auto events = instrument.Events();
  auto outputs = instrument.Outputs();
  out << instrument.CatCode() << " " << Quoted(instrument.Name())
      << " family=" << instrument.Family() << " version=" << SingleText(instrument.Version())
      << " base=" << EffectiveBaseClass(instrument.BaseClass())
      << " channels=" << (channels ? channels->Count() : 0)
      << " events=" << (events ? events->Count() : 0)
      << " outputs=" << (outputs ? outputs->Count() : 0) << "\n";
}

void PrintInstrument(std::ostream& out, IInstrument& instrument) {
  out << "Instrument " << instrument.CatCode() << "\n";
  const Fields properties = {
      {"Name", instrument.Name()},
      {"Description", instrument.Description()},
      {"Family", instrument.Family()},
      {"Keywords", instrument.Keywords()},
      {"Version", SingleText(instrument.Version())},
      {"Base class", EffectiveBaseClass(instrument.BaseClass())},
      {"Loader class", instrument.LoaderClass()},
      {"Setup form", instrument.SetupForm()},
      {"Logger types", IntegerText(instrument.LoggerTypes())},
      {"Minimum build", instrument.MinimumBuildRevision()},
      {"Single use", YesNo(instrument.SingleUse())},
      {"Read only", YesNo(instrument.ReadOnly())},
      {"Visible", YesNo(instrument.Visible())},
      {"Key", instrument.Key()},
      {"Source", instrument.Source()},
      {"Icon source", instrument.IconSource()},
      {"Tag", instrument.Tag()},
  };
  for (const auto& [name, value] : properties) {
    if (value.empty()) continue;
    std::string label = name + ":";
    label.resize(16, ' ');
    out << "  " << label << value << "\n";
  }
  PrintChannels(out, instrument);
  PrintEvents(out, instrument);
  PrintOutputs(out, instrument);
  PrintCDTSettings(out, instrument);
  PrintFiles(out, instrument);
  PrintBuddies(out, instrument);
  PrintResources(out, instrument);
  const std::string code = instrument.INPCode();
  if (code.empty()) {
    out << "Program text (none)\n";
  } else {
    PrintCode(out, "", "Program text", code);
  }
}

}  // namespace corvale::cli

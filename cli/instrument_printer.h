// Views of an instrument for the corvale program: one summary line, or everything it carries.
// The instrument is read once into JSON, which --json prints as it is and the text views lay
// out. Reading touches the instrument only in memory: defaults it materialises are not saved.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <ostream>
#include <string>

#include "cli/report.h"
#include "corvale/instruments/instrument.h"
#include "corvale/xml/xml.h"

namespace corvale::cli {

// Catalogue code, name, family, version, base class and the numbers of channels, events and
// outputs. `where` names the part being read, for the message of a model error.
ordered_json InstrumentSummary(IInstrument& instrument, std::string& where);
// Properties, channels, events, outputs, CDT settings, files, buddies, resource requests and
// the program text.
ordered_json InstrumentDetails(IInstrument& instrument, std::string& where);

// Reads the instrument of `element` (at `position` in its file) with `read`, which is handed
// InstrumentSummary's or InstrumentDetails' `where`. Nothing, with the file, the instrument's
// position and catalogue code and the part being read reported, when the model cannot read it.
std::optional<ordered_json> ReadInstrument(
    Report& report, const std::string& file, const xml::Node& element, size_t position,
    const std::function<ordered_json(std::string& where)>& read);

// CATCODE "Name" family=... version=... base=... channels=n events=n outputs=n
void PrintInstrumentSummary(std::ostream& out, const ordered_json& summary);
// Everything, with program text unescaped, a line of the logger's program per line.
void PrintInstrument(std::ostream& out, const ordered_json& details);

}  // namespace corvale::cli

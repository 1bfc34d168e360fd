// How the library and merge commands read library and merge files, and tell what is wrong
// with one that cannot be used.
#pragma once

#include <string>
#include <string_view>

#include "cli/report.h"
#include "corvale/libraries/xml_instruments.h"
#include "corvale/xml/xml.h"

namespace corvale::cli {

// Why a file did not load as a document with the expected root: where it breaks for a parse
// error, otherwise the root that was found.
void ReportLoadFailure(Report& report, const std::string& path, const xml::ParseError& error,
                       std::string_view expectedRoot);

// Loads a library file; false (with the reason reported) when it is no library.
bool LoadLibraryFile(Report& report, const std::string& path, XMLInstruments& library);

// Reports every catalogue code held by more than one instrument; returns how many there are.
int ReportDuplicateCodes(Report& report, const std::string& path, const XMLInstruments& library);

// The number of instruments in the library file. The model counts them in 16 bits, so a file
// with more than 32,767 is reported as an error of the document (and not shown negative).
size_t InstrumentCount(Report& report, const std::string& path, const XMLInstruments& library);

}  // namespace corvale::cli

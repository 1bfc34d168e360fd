// How the library and merge commands read library and merge files, and tell what is wrong
// with one that cannot be used.
#pragma once

#include <string>
#include <string_view>

#include "corvale/libraries/xml_instruments.h"
#include "corvale/xml/xml.h"

namespace corvale::cli {

// Why a file did not load as a document with the expected root, on standard error:
// "FILE:LINE:COLUMN: reason" for a parse error, otherwise the root that was found.
void ReportLoadFailure(const std::string& path, const xml::ParseError& error,
                       std::string_view expectedRoot, const std::string& root);

// Loads a library file; false (with the reason on standard error) when it is no library.
bool LoadLibraryFile(const std::string& path, XMLInstruments& library);

// Reports every catalogue code held by more than one instrument; returns how many there are.
int ReportDuplicateCodes(const std::string& path, const XMLInstruments& library);

}  // namespace corvale::cli

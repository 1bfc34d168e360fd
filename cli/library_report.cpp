#include "cli/library_report.h"

#include <iostream>
#include <unordered_map>
#include <vector>

#include "corvale/binding/node_access.h"
#include "corvale/core/convert.h"

namespace corvale::cli {

void ReportLoadFailure(const std::string& path, const xml::ParseError& error,
                       std::string_view expectedRoot, const std::string& root) {
  if (error.errorCode != 0) {
    std::cerr << path;
    if (error.line > 0) std::cerr << ":" << error.line << ":" << error.linepos;
    std::cerr << ": " << error.reason << "\n";
    return;
  }
  std::cerr << path << ": root element is " << (root.empty() ? "missing" : "<" + root + ">")
            << ", not <" << expectedRoot << ">\n";
}

bool LoadLibraryFile(const std::string& path, XMLInstruments& library) {
  if (library.Load(path)) return true;
  ReportLoadFailure(path, library.ParseError(), "PennardInstrumentLibrary",
                    library.LoadedRootName());
  return false;
}

int ReportDuplicateCodes(const std::string& path, const XMLInstruments& library) {
  std::unordered_map<std::string, std::vector<size_t>> positions;
  std::vector<std::string> order;
  const std::vector<xml::Node> elements = library.XMLNode().selectNodes("INSTRUMENT");
  for (size_t i = 0; i < elements.size(); ++i) {
    const std::string code = GetNodeText(elements[i], "CATCODE", "");
    auto& list = positions[UpperCase(code)];
    if (list.empty()) order.push_back(UpperCase(code));
    list.push_back(i + 1);
  }
  int duplicates = 0;
  for (const std::string& code : order) {
    const std::vector<size_t>& list = positions[code];
    if (list.size() < 2) continue;
    ++duplicates;
    std::cerr << path << ": instruments";
    for (size_t position : list) std::cerr << " " << position;
    std::cerr << " share the catalogue code \"" << GetNodeText(elements[list[0] - 1], "CATCODE", "")
              << "\"; look-ups by code find only instrument " << list[0] << "\n";
  }
  return duplicates;
}

}  // namespace corvale::cli

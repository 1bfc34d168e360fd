#include "cli/library_report.h"

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "corvale/binding/node_access.h"
#include "corvale/core/convert.h"

namespace corvale::cli {

void ReportLoadFailure(Report& report, const std::string& path, const xml::ParseError& error,
                       std::string_view expectedRoot) {
  if (error.errorCode != 0) return ReportParseError(report, path, error);
  xml::Document document = xml::Document::create();
  document.load(path);
  const std::string root = document.documentElement().nodeName();
  report.Problem(Printable(path) + ": root element is " +
                     (root.empty() ? "missing" : "<" + root + ">") + ", not <" +
                     std::string(expectedRoot) + ">",
                 {{"file", path}, {"root", root}});
}

bool LoadLibraryFile(Report& report, const std::string& path, XMLInstruments& library) {
  if (library.Load(path)) return true;
  ReportLoadFailure(report, path, library.ParseError(), "PennardInstrumentLibrary");
  return false;
}

int ReportDuplicateCodes(Report& report, const std::string& path, const XMLInstruments& library) {
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
    const std::string shared = GetNodeText(elements[list[0] - 1], "CATCODE", "");
    std::string message = Printable(path) + ": instruments";
    for (size_t position : list) message += " " + std::to_string(position);
    message += " share the catalogue code \"" + shared +
               "\"; look-ups by code find only instrument " + std::to_string(list[0]);
    report.Problem(message, {{"file", path}, {"instruments", list}, {"catCode", shared}});
  }
  return duplicates;
}

size_t InstrumentCount(Report& report, const std::string& path, const XMLInstruments& library) {
  const size_t count = library.XMLNode().selectNodes("INSTRUMENT").size();
  if (count > static_cast<size_t>(INT16_MAX)) {
    report.Problem(Printable(path) + ": holds " + std::to_string(count) +
                       " instruments; a library holds at most " + std::to_string(INT16_MAX),
                   Error(err::kOverflow), {{"file", path}, {"instruments", count}});
  }
  return count;
}

}  // namespace corvale::cli

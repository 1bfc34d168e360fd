// corvale instrument FILE [CATCODE] [--json]: the instruments a document holds, or one in full.
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/command.h"
#include "cli/commands.h"
#include "cli/instrument_printer.h"
#include "cli/report.h"
#include "corvale/binding/node_access.h"
#include "corvale/core/convert.h"
#include "corvale/instruments/std_instrument.h"
#include "corvale/xml/xml.h"

namespace corvale::cli {
namespace {

// Every INSTRUMENT element of the document, in document order, wherever it stands (library,
// scheme, template). Nothing inside an instrument is searched: the INSTRUMENT children of
// BUDDIES are references, not instruments. The walk does not recurse: documents may nest
// deeply.
std::vector<xml::Node> FindInstruments(const xml::Node& root) {
  std::vector<xml::Node> found;
  xml::Node node = root;
  while (node) {
    xml::Node next;
    if (node.nodeType() == xml::NodeType::Element && node.nodeName() == "INSTRUMENT") {
      found.push_back(node);
    } else {
      next = node.firstChild();
    }
    while (!next && !(node == root)) {
      next = node.nextSibling();
      if (!next) node = node.parentNode();
    }
    node = next;
  }
  return found;
}

// The standard instrument is a view of the element whatever its BASECLASS says: the command
// shows what the document holds, and classes named there need not exist in this program.
std::optional<ordered_json> Read(Report& report, const std::string& file, const xml::Node& element,
                                 size_t position, bool full) {
  return ReadInstrument(report, file, element, position, [&](std::string& where) {
    clsStdInstrument instrument;
    instrument.XMLNode(element);
    return full ? InstrumentDetails(instrument, where) : InstrumentSummary(instrument, where);
  });
}

void PrintList(std::ostream& out, const ordered_json& content) {
  for (const auto& instrument : content["instruments"]) PrintInstrumentSummary(out, instrument);
}

}  // namespace

int RunInstrument(const InstrumentOptions& options) {
  Report report(options.json);
  const std::string& file = options.file;
  // The document is read into memory and never saved: defaults that reading materialises
  // do not reach the file.
  xml::Document document = xml::Document::create();
  if (!document.load(file)) {
    ReportParseError(report, file, document.parseError());
    return report.Finish(nullptr, {});
  }
  const std::vector<xml::Node> elements = FindInstruments(document);

  if (options.catCode.empty()) {
    if (elements.empty()) std::cerr << Printable(file) << ": no instruments\n";
    ordered_json list = ordered_json::array();
    for (size_t i = 0; i < elements.size(); ++i) {
      if (auto summary = Read(report, file, elements[i], i + 1, false))
        list.push_back(std::move(*summary));
    }
    return report.Finish({{"file", file}, {"instruments", std::move(list)}}, PrintList);
  }

  for (size_t i = 0; i < elements.size(); ++i) {
    // Catalogue codes compare without regard to case, as libraries look them up.
    if (!EqualsNoCase(GetNodeText(elements[i], "CATCODE", ""), options.catCode)) continue;
    std::optional<ordered_json> details = Read(report, file, elements[i], i + 1, true);
    return report.Finish(details ? std::move(*details) : ordered_json(), PrintInstrument);
  }
  report.Problem(
      Printable(file) + ": no instrument with the catalogue code \"" + options.catCode + "\"",
      {{"file", file}, {"instrument", options.catCode}});
  return report.Finish(nullptr, {});
}

void AddInstrumentCommand(CLI::App& program) {
  auto options = std::make_shared<InstrumentOptions>();
  CLI::App& command = *program.add_subcommand(
      "instrument", "list the instruments of a document, or print one in full");
  command.add_option("FILE", options->file, "a library, scheme or any document")->required();
  command.add_option("CATCODE", options->catCode, "the catalogue code of the one to print");
  AddJsonFlag(command, options->json);
  OnRun(command, [options] { return RunInstrument(*options); });
}

}  // namespace corvale::cli

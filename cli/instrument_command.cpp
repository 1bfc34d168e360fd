// corvale instrument FILE [CATCODE]: the instruments a document holds, or one in full.
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "cli/cli_util.h"
#include "cli/commands.h"
#include "cli/instrument_printer.h"
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
std::shared_ptr<clsStdInstrument> View(const xml::Node& element) {
  auto instrument = std::make_shared<clsStdInstrument>();
  instrument->XMLNode(element);
  return instrument;
}

}  // namespace

int RunInstrument(const std::vector<std::string>& arguments) {
  std::vector<std::string> operands = arguments;
  RejectUnknownOptions(operands);
  if (operands.empty()) throw UsageError("no FILE given");
  if (operands.size() > 2) throw UsageError("too many arguments");
  const std::string& file = operands[0];

  // The document is read into memory and never saved: defaults that reading materialises
  // do not reach the file.
  xml::Document document = xml::Document::create();
  if (!document.load(file)) {
    const xml::ParseError& error = document.parseError();
    std::cerr << file;
    if (error.line > 0) std::cerr << ":" << error.line << ":" << error.linepos;
    std::cerr << ": " << error.reason << "\n";
    return kExitFailure;
  }
  const std::vector<xml::Node> elements = FindInstruments(document);

  if (operands.size() == 1) {
    if (elements.empty()) std::cerr << file << ": no instruments\n";
    for (const xml::Node& element : elements) PrintInstrumentSummary(std::cout, *View(element));
    return kExitOk;
  }

  const std::string& catCode = operands[1];
  for (const xml::Node& element : elements) {
    // Catalogue codes compare without regard to case, as libraries look them up.
    if (EqualsNoCase(GetNodeText(element, "CATCODE", ""), catCode)) {
      PrintInstrument(std::cout, *View(element));
      return kExitOk;
    }
  }
  std::cerr << file << ": no instrument with the catalogue code \"" << catCode << "\"\n";
  return kExitFailure;
}

}  // namespace corvale::cli

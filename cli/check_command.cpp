// corvale check FILE...: does each document load, and what is it.
#include <iostream>
#include <string>
#include <vector>

#include "cli/cli_util.h"
#include "cli/commands.h"
#include "corvale/xml/xml.h"

namespace corvale::cli {
namespace {

// Walks the tree without recursion: documents may nest thousands of levels deep.
long CountElements(const xml::Node& root) {
  long count = 0;
  xml::Node node = root;
  while (node) {
    if (node.nodeType() == xml::NodeType::Element) ++count;
    xml::Node next = node.firstChild();
    while (!next && node && !(node == root)) {
      next = node.nextSibling();
      if (!next) node = node.parentNode();
    }
    node = next;
  }
  return count;
}

}  // namespace

int RunCheck(const std::vector<std::string>& arguments) {
  std::vector<std::string> files = arguments;
  RejectUnknownOptions(files);
  if (files.empty()) throw UsageError("no FILE given");

  int status = kExitOk;
  for (const std::string& file : files) {
    xml::Document document = xml::Document::create();
    if (document.load(file)) {
      xml::Node root = document.documentElement();
      std::cout << file << ": root " << root.nodeName() << ", encoding " << document.encoding()
                << ", " << CountElements(document) << " elements\n";
      continue;
    }
    const xml::ParseError& error = document.parseError();
    std::cerr << file;
    if (error.line > 0) std::cerr << ":" << error.line << ":" << error.linepos;
    std::cerr << ": " << error.reason << "\n";
    status = kExitFailure;
  }
  return status;
}

}  // namespace corvale::cli

// corvale check FILE... [--json]: does each document load, and what is it.
#include <memory>
#include <ostream>
#include <string>

#include "cli/command.h"
#include "cli/commands.h"
#include "cli/library_report.h"
#include "cli/report.h"
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

void PrintChecked(std::ostream& out, const ordered_json& content) {
  for (const auto& file : content["files"]) {
    out << Printable(Text(file["file"])) << ": root " << Text(file["root"]) << ", encoding "
        << Text(file["encoding"]) << ", " << Text(file["elements"]) << " elements\n";
  }
}

}  // namespace

int RunCheck(const CheckOptions& options) {
  Report report(options.json);
  ordered_json files = ordered_json::array();
  for (const std::string& file : options.files) {
    xml::Document document = xml::Document::create();
    if (document.load(file)) {
      files.push_back({{"file", file},
                       {"root", document.documentElement().nodeName()},
                       {"encoding", document.encoding()},
                       {"elements", CountElements(document)}});
    } else {
      ReportParseError(report, file, document.parseError());
    }
  }
  return report.Finish({{"files", files}}, PrintChecked);
}

void AddCheckCommand(CLI::App& program) {
  auto options = std::make_shared<CheckOptions>();
  CLI::App& command = *program.add_subcommand(
      "check", "load XML documents; print root, encoding and element count, or where they break");
  command.add_option("FILE", options->files, "the documents to load")->required();
  AddJsonFlag(command, options->json);
  OnRun(command, [options] { return RunCheck(*options); });
}

}  // namespace corvale::cli

// libFuzzer target for the XML tree: any bytes must load or fail cleanly, and what a load
// accepted must save, load again and save to the same bytes; tree operations on the result
// must hold together. Each input is also loaded with the input behind the parse handed back
// every 64 bytes, which must change nothing: not the tree, not an error's line and text.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "corvale/xml/internal/parser.h"
#include "corvale/xml/xml.h"

using corvale::xml::Document;
using corvale::xml::Node;

namespace {
std::string Outcome(const Document& doc, bool loaded) {
  if (loaded) return doc.xml();
  const corvale::xml::ParseError& e = doc.parseError();
  return std::to_string(e.errorCode) + ":" + std::to_string(e.line) + ":" +
         std::to_string(e.linepos) + ":" + e.srcText;
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view bytes(reinterpret_cast<const char*>(data), size);
  corvale::xml::SetInputReleaseForTesting(64);
  Document released = Document::create();
  const bool releasedLoaded = released.loadXML(bytes);
  corvale::xml::SetInputReleaseForTesting(0);
  Document doc = Document::create();
  const bool loaded = doc.loadXML(bytes);
  if (loaded != releasedLoaded || Outcome(doc, loaded) != Outcome(released, releasedLoaded)) {
    std::abort();
  }
  released = Document();
  if (!loaded) {
    if (doc.parseError().errorCode == 0) std::abort();
    return 0;
  }
  std::string saved = doc.saveToString();
  Document again = Document::create();
  if (!again.loadXML(saved)) std::abort();  // what a save writes must load
  if (again.saveToString() != saved) std::abort();

  Node root = doc.documentElement();
  Node copy = root.cloneNode(true);
  if (copy.xml() != root.xml() || copy.text() != root.text()) std::abort();
  // Move the copy's children into the other document one by one, then drop everything.
  Node target = again.documentElement();
  for (Node child = copy.firstChild(); child;) {
    Node next = child.nextSibling();
    target.appendChild(child);
    if (child.ownerDocument() != again || child.parentNode() != target) std::abort();
    child = next;
  }
  doc = Document();
  root = Node();
  (void)again.saveToString();
  return 0;
}

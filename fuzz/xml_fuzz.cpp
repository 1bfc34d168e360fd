// libFuzzer target for the XML tree: any bytes must load or fail cleanly, and what a load
// accepted must save, load again and save to the same bytes; tree operations on the result
// must hold together.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "corvale/xml/xml.h"

using corvale::xml::Document;
using corvale::xml::Node;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view bytes(reinterpret_cast<const char*>(data), size);
  Document doc = Document::create();
  if (!doc.loadXML(bytes)) {
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

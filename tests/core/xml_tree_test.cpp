// The XML tree: handles, lifetime, moves between documents, tree changes.
#include <gtest/gtest.h>

#include "corvale/core/error.h"
#include "corvale/core/xml.h"

namespace corvale::xml {
namespace {

int ErrorNumber(const std::function<void()>& f) {
  try {
    f();
  } catch (const Error& e) {
    return e.number();
  }
  return 0;
}

TEST(XmlTree, BuildNavigateAndQuery) {
  Document doc = Document::create();
  Node root = doc.appendChild(doc.createElement("LIB"));
  Node a = root.appendChild(doc.createElement("ITEM"));
  a.text("first");
  Node b = root.appendChild(doc.createElement("ITEM"));
  b.appendChild(doc.createElement("CODE")).text("B1");
  root.insertBefore(doc.createComment(" note "), a);
  a.setAttribute("NAME", "x & \"y\"");

  EXPECT_EQ(doc.documentElement(), root);
  EXPECT_EQ(root.selectSingleNode("ITEM"), a);
  EXPECT_EQ(root.selectNodes("ITEM").size(), 2u);
  EXPECT_TRUE(root.selectSingleNode("NONE").isNull());
  EXPECT_EQ(root.selectSingleNode("ITEM/CODE").text(), "B1");
  EXPECT_EQ(root.text(), "firstB1");
  EXPECT_EQ(a.getAttribute("NAME"), "x & \"y\"");
  EXPECT_EQ(a.firstChild().nodeType(), NodeType::Text);
  EXPECT_EQ(a.firstChild().nodeValue(), "first");
  EXPECT_EQ(a.firstChild().parentNode(), a);
  EXPECT_EQ(root.firstChild().nodeType(), NodeType::Comment);
  EXPECT_EQ(b.previousSibling(), a);
  EXPECT_TRUE(root.firstChild().previousSibling().isNull());
  EXPECT_EQ(root.lastChild(), b);
  EXPECT_EQ(a.ownerDocument(), doc);
  EXPECT_EQ(root.xml(),
            "<LIB><!-- note --><ITEM NAME=\"x &amp; &quot;y&quot;\">first</ITEM>"
            "<ITEM><CODE>B1</CODE></ITEM></LIB>");

  Node none;
  EXPECT_TRUE(none.firstChild().isNull());
  EXPECT_EQ(none.text(), "");
  EXPECT_TRUE(none.appendChild(a).isNull());
  EXPECT_TRUE(none.selectNodes("ITEM").empty());
}

TEST(XmlTree, ImpossibleChangesRaiseError5) {
  Document doc = Document::create();
  Node root = doc.appendChild(doc.createElement("R"));
  Node child = root.appendChild(doc.createElement("C"));
  Node grand = child.appendChild(doc.createElement("G"));
  EXPECT_EQ(ErrorNumber([&] { grand.appendChild(root); }), 5);
  EXPECT_EQ(ErrorNumber([&] { child.appendChild(child); }), 5);
  EXPECT_EQ(ErrorNumber([&] { root.appendChild(Document::create()); }), 5);
  EXPECT_EQ(ErrorNumber([&] { doc.appendChild(doc.createElement("SECOND")); }), 5);
  EXPECT_EQ(ErrorNumber([&] { root.insertBefore(doc.createElement("X"), grand); }), 5);
  EXPECT_EQ(ErrorNumber([&] { root.removeChild(grand); }), 5);
  EXPECT_EQ(ErrorNumber([&] { doc.createElement("1bad"); }), 5);
  // Nothing moved.
  EXPECT_EQ(root.xml(), "<R><C><G/></C></R>");
}

}  // namespace
}  // namespace corvale::xml

// The XML tree: handles, lifetime, moves between documents, tree changes.
#include <gtest/gtest.h>

#include <functional>

#include "corvale/core/error.h"
#include "corvale/xml/xml.h"

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
  EXPECT_TRUE(root.selectSingleNode("CODE").isNull());  // children only, not descendants
  EXPECT_EQ(root.selectSingleNode("ITEM/CODE").text(), "B1");
  EXPECT_EQ(root.text(), "firstB1");
  EXPECT_EQ(a.getAttribute("NAME"), "x & \"y\"");
  EXPECT_EQ(a.getAttribute("NONE"), "");
  EXPECT_EQ(root.firstChild().nodeType(), NodeType::Comment);
  EXPECT_EQ(root.firstChild().nodeName(), "#comment");
  EXPECT_EQ(b.previousSibling(), a);
  EXPECT_TRUE(root.firstChild().previousSibling().isNull());
  EXPECT_TRUE(b.nextSibling().isNull());
  EXPECT_EQ(root.lastChild(), b);
  EXPECT_EQ(a.ownerDocument(), doc);
  EXPECT_TRUE(doc.ownerDocument().isNull());
  EXPECT_EQ(root.xml(),
            "<LIB><!-- note --><ITEM NAME=\"x &amp; &quot;y&quot;\">first</ITEM>"
            "<ITEM><CODE>B1</CODE></ITEM></LIB>");

  // An element's only text is a node with a stable identity once asked for.
  Node t = a.firstChild();
  EXPECT_EQ(t.nodeType(), NodeType::Text);
  EXPECT_EQ(t.nodeValue(), "first");
  EXPECT_EQ(t.parentNode(), a);
  EXPECT_EQ(a.firstChild(), t);
  EXPECT_EQ(a.childNodes().size(), 1u);
  t.nodeValue("changed");
  EXPECT_EQ(a.text(), "changed");
  a.appendChild(doc.createTextNode(" more"));
  EXPECT_EQ(a.text(), "changed more");
  // Setting the text replaces every child; the old text node lives on, detached.
  a.text("new");
  EXPECT_EQ(a.text(), "new");
  EXPECT_TRUE(t.parentNode().isNull());
  EXPECT_EQ(t.nodeValue(), "changed");
  a.text("");
  EXPECT_FALSE(a.hasChildNodes());
  EXPECT_EQ(root.xml(),
            "<LIB><!-- note --><ITEM NAME=\"x &amp; &quot;y&quot;\"/>"
            "<ITEM><CODE>B1</CODE></ITEM></LIB>");
}

TEST(XmlTree, NullHandlesAreHarmless) {
  Node none;
  Document noDoc;
  Document doc = Document::create();
  Node e = doc.createElement("E");
  EXPECT_TRUE(none.isNull());
  EXPECT_FALSE(static_cast<bool>(none));
  EXPECT_EQ(none, Node());
  EXPECT_TRUE(none.firstChild().isNull());
  EXPECT_TRUE(none.parentNode().isNull());
  EXPECT_TRUE(none.ownerDocument().isNull());
  EXPECT_EQ(none.text(), "");
  EXPECT_EQ(none.nodeName(), "");
  EXPECT_EQ(none.xml(), "");
  EXPECT_TRUE(none.appendChild(e).isNull());
  EXPECT_TRUE(e.appendChild(none).isNull());
  EXPECT_TRUE(none.selectNodes("ITEM").empty());
  EXPECT_TRUE(none.cloneNode(true).isNull());
  none.text("x");
  none.setAttribute("A", "1");
  EXPECT_FALSE(none.hasAttribute("A"));
  EXPECT_TRUE(noDoc.createElement("E").isNull());
  EXPECT_FALSE(noDoc.loadXML("<A/>"));
  EXPECT_EQ(noDoc.parseError().errorCode, 0);
  EXPECT_EQ(noDoc.saveToString(), "");
  EXPECT_FALSE(e.hasChildNodes());
}

TEST(XmlTree, ImpossibleChangesRaiseError5AndChangeNothing) {
  Document doc = Document::create();
  Node root = doc.appendChild(doc.createElement("R"));
  Node child = root.appendChild(doc.createElement("C"));
  Node grand = child.appendChild(doc.createElement("G"));
  Node text = grand.appendChild(doc.createTextNode("t"));
  EXPECT_EQ(ErrorNumber([&] { grand.appendChild(root); }), 5);
  EXPECT_EQ(ErrorNumber([&] { grand.appendChild(child); }), 5);
  EXPECT_EQ(ErrorNumber([&] { child.appendChild(child); }), 5);
  EXPECT_EQ(ErrorNumber([&] { root.appendChild(Document::create()); }), 5);
  EXPECT_EQ(ErrorNumber([&] { doc.appendChild(doc.createElement("SECOND")); }), 5);
  EXPECT_EQ(ErrorNumber([&] { doc.appendChild(doc.createTextNode("loose")); }), 5);
  EXPECT_EQ(ErrorNumber([&] { text.appendChild(doc.createElement("X")); }), 5);
  EXPECT_EQ(ErrorNumber([&] { root.insertBefore(doc.createElement("X"), grand); }), 5);
  EXPECT_EQ(ErrorNumber([&] { root.removeChild(grand); }), 5);
  EXPECT_EQ(ErrorNumber([&] { root.replaceChild(doc.createElement("X"), grand); }), 5);
  EXPECT_EQ(ErrorNumber([&] { doc.createElement("1bad"); }), 5);
  EXPECT_EQ(ErrorNumber([&] { doc.createElement("a b"); }), 5);
  EXPECT_EQ(ErrorNumber([&] { doc.createElement(""); }), 5);
  EXPECT_EQ(ErrorNumber([&] { root.setAttribute("no good", "1"); }), 5);
  EXPECT_EQ(root.xml(), "<R><C><G>t</G></C></R>");

  // The declaration stands first in a document or nowhere, so that a saved file loads.
  Node decl = doc.createProcessingInstruction("xml", "version=\"1.0\"");
  EXPECT_EQ(ErrorNumber([&] { doc.appendChild(decl); }), 5);
  EXPECT_EQ(ErrorNumber([&] { root.appendChild(decl); }), 5);
  doc.insertBefore(decl, doc.firstChild());
  EXPECT_EQ(doc.firstChild(), decl);
  EXPECT_EQ(ErrorNumber([&] { doc.insertBefore(doc.createComment("c"), decl); }), 5);
  doc.insertBefore(doc.createComment("after"), root);
  EXPECT_EQ(doc.xml(), "<?xml version=\"1.0\"?><!--after--><R><C><G>t</G></C></R>");

  // The document element may be swapped for another one, and re-appending a child moves it.
  Node other = doc.createElement("R2");
  doc.replaceChild(other, root);
  EXPECT_EQ(doc.documentElement(), other);
  other.appendChild(doc.createElement("A"));
  other.appendChild(doc.createElement("B"));
  other.appendChild(other.firstChild());
  EXPECT_EQ(other.xml(), "<R2><B/><A/></R2>");
  other.insertBefore(other.lastChild(), other.firstChild());
  EXPECT_EQ(other.xml(), "<R2><A/><B/></R2>");
}

TEST(XmlTree, MovesBetweenDocumentsKeepIdentityAndHandles) {
  Document source = Document::create();
  Node root = source.appendChild(source.createElement("SRC"));
  Node inst = root.appendChild(source.createElement("INSTRUMENT"));
  Node code = inst.appendChild(source.createElement("CATCODE"));
  code.text("TMP");
  Node textNode = code.firstChild();

  Document target = Document::create();
  Node dest = target.appendChild(target.createElement("DEST"));
  EXPECT_EQ(dest.appendChild(inst), inst);
  EXPECT_EQ(inst.parentNode(), dest);
  EXPECT_EQ(inst.ownerDocument(), target);
  EXPECT_EQ(code.ownerDocument(), target);
  EXPECT_EQ(textNode.ownerDocument(), target);
  EXPECT_EQ(code.firstChild(), textNode);
  EXPECT_EQ(dest.selectSingleNode("INSTRUMENT"), inst);
  EXPECT_FALSE(root.hasChildNodes());

  // The source document goes once nothing holds it; the moved nodes stay with the target.
  source = Document();
  root = Node();
  EXPECT_EQ(target.documentElement().xml(),
            "<DEST><INSTRUMENT><CATCODE>TMP</CATCODE></INSTRUMENT></DEST>");

  // A node from a released document that only its handle keeps alive moves as well.
  Node orphan;
  {
    Document temp = Document::create();
    orphan = temp.createElement("ORPHAN");
    orphan.appendChild(temp.createElement("CHILD"));
  }
  Document tempDoc = orphan.ownerDocument();
  EXPECT_FALSE(tempDoc.isNull());
  tempDoc = Document();
  dest.insertBefore(orphan, inst);
  EXPECT_EQ(orphan.ownerDocument(), target);
  EXPECT_EQ(orphan.firstChild().ownerDocument(), target);
  EXPECT_EQ(dest.firstChild(), orphan);
}

TEST(XmlTree, RemovedNodesStayUsableWithTheirDocument) {
  Node kept;
  Node grand;
  Document weak;
  {
    Document doc = Document::create();
    Node root = doc.appendChild(doc.createElement("ROOT"));
    kept = root.appendChild(doc.createElement("KEPT"));
    grand = kept.appendChild(doc.createElement("GRAND"));
    grand.text("value");
    EXPECT_EQ(root.removeChild(kept), kept);
    EXPECT_TRUE(kept.parentNode().isNull());
    EXPECT_FALSE(root.hasChildNodes());
  }
  // The document handle is gone; the removed node still reaches its document.
  weak = kept.ownerDocument();
  ASSERT_FALSE(weak.isNull());
  EXPECT_EQ(weak.documentElement().nodeName(), "ROOT");
  EXPECT_EQ(kept.text(), "value");
  weak.documentElement().appendChild(kept);
  EXPECT_EQ(weak.documentElement().xml(), "<ROOT><KEPT><GRAND>value</GRAND></KEPT></ROOT>");

  // A handle on a descendant keeps that descendant when its removed ancestor goes.
  Node parent = kept;
  parent.parentNode().removeChild(parent);
  parent = Node();
  kept = Node();
  EXPECT_TRUE(grand.parentNode().isNull());
  EXPECT_EQ(grand.xml(), "<GRAND>value</GRAND>");
  EXPECT_EQ(grand.ownerDocument(), weak);
}

TEST(XmlTree, CloneCopiesIntoTheSameDocumentDetached) {
  Document doc = Document::create();
  Node root = doc.appendChild(doc.createElement("ROOT"));
  Node inst = root.appendChild(doc.createElement("INSTRUMENT"));
  inst.setAttribute("NAME", "probe");
  inst.appendChild(doc.createElement("CHANNELS"))
      .appendChild(doc.createElement("CHANNEL"))
      .appendChild(doc.createCDATASection("a<b"));
  inst.appendChild(doc.createComment("c"));
  inst.appendChild(doc.createProcessingInstruction("pi", "data"));

  Node deep = inst.cloneNode(true);
  EXPECT_NE(deep, inst);
  EXPECT_TRUE(deep.parentNode().isNull());
  EXPECT_EQ(deep.ownerDocument(), doc);
  EXPECT_EQ(deep.xml(), inst.xml());
  deep.selectSingleNode("CHANNELS/CHANNEL").text("changed");
  deep.setAttribute("NAME", "copy");
  EXPECT_EQ(inst.selectSingleNode("CHANNELS/CHANNEL").text(), "a<b");
  EXPECT_EQ(inst.getAttribute("NAME"), "probe");

  Node shallow = inst.cloneNode(false);
  EXPECT_EQ(shallow.xml(), "<INSTRUMENT NAME=\"probe\"/>");

  Node whole = doc.cloneNode(true);
  EXPECT_EQ(whole.nodeType(), NodeType::Document);
  EXPECT_EQ(whole.xml(), doc.xml());
  EXPECT_EQ(whole.firstChild().ownerDocument(), whole);
}

TEST(XmlTree, MillionDeepChainIsClonedSavedAndDestroyed) {
  constexpr int kDepth = 1000000;
  Document doc = Document::create();
  Node top = doc.appendChild(doc.createElement("a"));
  Node cur = top;
  for (int i = 1; i < kDepth; ++i) cur = cur.appendChild(doc.createElement("a"));
  cur.text("bottom");
  cur = Node();

  Node copy = top.cloneNode(true);
  EXPECT_EQ(copy.text(), "bottom");
  std::string saved = doc.saveToString();
  EXPECT_GT(saved.size(), size_t{7} * kDepth);
  EXPECT_NE(saved.find("<a>bottom</a>"), std::string::npos);
  EXPECT_EQ(copy.xml().size(), size_t{7} * kDepth + 6);

  // Moving the whole chain to another document, then letting every handle go.
  Document other = Document::create();
  other.appendChild(copy);
  EXPECT_EQ(copy.ownerDocument(), other);
  copy = Node();
  other = Document();
  top = Node();
  doc = Document();
}

}  // namespace
}  // namespace corvale::xml

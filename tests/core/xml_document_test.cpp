// The XML tree's documents: load, parse errors, encodings, the saved form.
#include <gtest/gtest.h>

#include "corvale/core/error.h"
#include "corvale/core/xml.h"
#include "tests/support/test_support.h"

namespace corvale::xml {
namespace {

constexpr std::string_view kDecl = "version = \"1.0\" encoding=\"windows-1252\"";

Document NewLibraryDocument() {
  Document doc = Document::create();
  doc.appendChild(doc.createProcessingInstruction("xml", kDecl));
  return doc;
}

TEST(XmlDocument, DeclarationOfANewDocumentRoundTrips) {
  Document doc = NewLibraryDocument();
  Node root = doc.appendChild(doc.createElement("PennardInstrumentLibrary"));
  root.appendChild(doc.createElement("NAME"))
      .text(
          "Caf\xC3\xA9 25\xC2\xB0"
          "C");
  EXPECT_EQ(doc.encoding(), "windows-1252");
  std::string saved = doc.saveToString();
  EXPECT_EQ(saved,
            "<?xml version = \"1.0\" encoding=\"windows-1252\"?>\r\n"
            "<PennardInstrumentLibrary>\r\n"
            "  <NAME>Caf\xE9 25\xB0"
            "C</NAME>\r\n"
            "</PennardInstrumentLibrary>\r\n");

  Document again = Document::create();
  ASSERT_TRUE(again.loadXML(saved)) << again.parseError().reason;
  Node decl = again.firstChild();
  EXPECT_EQ(decl.nodeType(), NodeType::ProcessingInstruction);
  EXPECT_EQ(decl.nodeName(), "xml");
  EXPECT_EQ(decl.nodeValue(), kDecl);
  EXPECT_EQ(again.documentElement().selectSingleNode("NAME").text(),
            "Caf\xC3\xA9 25\xC2\xB0"
            "C");
  EXPECT_EQ(again.saveToString(), saved);
}

TEST(XmlDocument, ParseErrorFieldsAndDocumentUnchanged) {
  Document doc = Document::create();
  ASSERT_TRUE(doc.loadXML("<A><B>keep</B></A>"));
  std::string path = test::WriteFile("broken.xml", "<A>\n  <B>text</C>\n</A>\n");
  EXPECT_FALSE(doc.load(path));
  const ParseError& e = doc.parseError();
  EXPECT_EQ(e.errorCode, 7);  // mismatched tag
  EXPECT_EQ(e.reason, "mismatched tag");
  EXPECT_EQ(e.line, 2);
  EXPECT_EQ(e.linepos, 12);  // the "<" of "</C>"
  EXPECT_EQ(e.srcText, "  <B>text</C>");
  EXPECT_EQ(e.url, path);
  EXPECT_EQ(doc.documentElement().xml(), "<A><B>keep</B></A>");

  EXPECT_FALSE(doc.load(test::TempDir() + "/missing.xml"));
  EXPECT_NE(doc.parseError().errorCode, 0);
  EXPECT_NE(doc.parseError().reason.find("missing.xml"), std::string::npos);
}

}  // namespace
}  // namespace corvale::xml

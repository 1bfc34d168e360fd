#include "corvale/binding/node_access.h"

#include <gtest/gtest.h>

#include <memory>

#include "corvale/core/error.h"
#include "tests/support/test_support.h"

namespace corvale {
namespace {

using test::ChildText;
using test::ChildTexts;
using test::ErrorOf;

// A document LIB with one element ITEM under its document element, as a model object has.
struct Doc {
  xml::Document document = NewDocument();
  xml::Node root;
  xml::Node item;
  Doc() {
    root = document.appendChild(document.createElement("LIB"));
    item = root.appendChild(document.createElement("ITEM"));
  }
  // The change mark, "(absent)" when there is none; taking it removes it.
  std::string TakeMark() {
    const std::string mark = ChildText(root, "CHANGED");
    if (xml::Node changed = root.selectSingleNode("CHANGED")) root.removeChild(changed);
    return mark;
  }
  std::string Child(std::string_view name) const { return ChildText(item, name); }
  void Put(std::string_view name, std::string_view text) {
    item.appendChild(document.createElement(name)).text(text);
  }
};

TEST(NodeAccess, ChangeMarkRules) {
  Doc d;
  SetNodeText(d.item, "LABEL", "");
  d.Put("OFFSET", "5");
  SetNodeText(d.item, "OFFSET", "0");  // removed, and deliberately not marked
  EXPECT_EQ(d.Child("LABEL") + d.Child("OFFSET"), "(absent)(absent)");
  EXPECT_EQ(d.TakeMark(), "(absent)");

  SetNodeText(d.item, "OFFSET", "0", true);  // forced: written and marked
  EXPECT_EQ(d.Child("OFFSET"), "0");
  EXPECT_EQ(d.TakeMark(), "-1");
  SetNodeText(d.item, "NAME", "Probe");
  EXPECT_EQ(d.Child("NAME"), "Probe");
  EXPECT_EQ(d.TakeMark(), "-1");
  SetNodeText(d.item, "NAME", "Probe");  // the same value again: no mark
  EXPECT_EQ(d.TakeMark(), "(absent)");

  // A cleared mark ("0") is set again by the next write.
  d.root.appendChild(d.document.createElement("CHANGED")).text("0");
  SetNodeText(d.item, "NAME", "Other");
  EXPECT_EQ(d.root.selectNodes("CHANGED").size(), 1u);
  EXPECT_EQ(d.TakeMark(), "-1");

  // Elements not yet in a document take values without a mark anywhere.
  xml::Node loose = CreateElement("INSTRUMENT");
  SetNodeText(loose, "NAME", "Loose");
  EXPECT_EQ(ChildText(loose, "NAME"), "Loose");
  EXPECT_TRUE(FactoryDocument().documentElement().isNull());
  // A null element is a no-op for every helper.
  SetNodeText(xml::Node(), "NAME", "x", true);
  EXPECT_EQ(GetNodeInteger(xml::Node(), "N", 7), 7);
}

TEST(NodeAccess, ReadingAbsentValuesWritesDefaultsBack) {
  Doc d;
  EXPECT_EQ(GetNodeText(d.item, "NAME", "New"), "New");
  EXPECT_EQ(d.Child("NAME"), "New");
  EXPECT_EQ(d.TakeMark(), "-1");

  EXPECT_EQ(GetNodeText(d.item, "TAG", ""), "");
  EXPECT_EQ(GetNodeInteger(d.item, "OFFSET", 0), 0);
  EXPECT_EQ(d.Child("TAG") + d.Child("OFFSET") + d.TakeMark(), "(absent)(absent)(absent)");

  EXPECT_EQ(GetNodeInteger(d.item, "VERSION", 5), 5);
  EXPECT_EQ(GetNodeLong(d.item, "TYPES", -1), -1);
  EXPECT_EQ(GetNodeString(d.item, "MINBUILD", "", true), "");  // forced: present, empty
  // Boolean defaults are written as words, and a false one is written too.
  EXPECT_FALSE(GetNodeBoolean(d.item, "SHOW", false));
  EXPECT_TRUE(GetNodeBoolean(d.item, "VISIBLE", true));
  EXPECT_EQ(ChildTexts(d.item, {"VERSION", "TYPES", "MINBUILD", "SHOW", "VISIBLE"}),
            "5|-1||False|True");
  EXPECT_FALSE(GetNodeBoolean(d.item, "SHOW", true));  // now read from the document
  EXPECT_TRUE(GetNodeBoolean(d.item, "VISIBLE", false));
}

TEST(NodeAccess, TypedReadsRaiseWhereTextReadsDoNot) {
  Doc d;
  d.Put("BIG", "70000");
  d.Put("UNITS", "12abc");
  d.Put("FLAG", "TRUE");
  EXPECT_EQ(ErrorOf([&] { GetNodeInteger(d.item, "BIG", 0); }), err::kOverflow);
  EXPECT_EQ(GetNodeLong(d.item, "BIG", 0), 70000);
  EXPECT_EQ(GetNodeInteger(d.item, "UNITS", 0), 12);
  EXPECT_TRUE(GetNodeBoolean(d.item, "FLAG", false));
}

TEST(NodeAccess, TypedSettersCompareWithTheDefault) {
  Doc d;
  SetNodeString(d.item, "UNITS", "mV", "mV");  // the default: nothing written, still marked
  EXPECT_EQ(d.Child("UNITS") + d.TakeMark(), "(absent)-1");
  SetNodeString(d.item, "UNITS", "mV", "mV", true);
  EXPECT_EQ(d.Child("UNITS"), "mV");
  SetNodeString(d.item, "UNITS", "", "mV");  // present: set, even to "" (not removed)
  EXPECT_EQ(d.Child("UNITS"), "");
  SetNodeString(d.item, "FAMILY", "Temp", "temp");  // the comparison is case-sensitive
  EXPECT_EQ(d.Child("FAMILY"), "Temp");

  SetNodeInteger(d.item, "OFFSET", 0, 0);
  EXPECT_EQ(d.Child("OFFSET"), "(absent)");
  SetNodeInteger(d.item, "OFFSET", -3, 0);
  EXPECT_EQ(d.Child("OFFSET"), "-3");
  SetNodeInteger(d.item, "OFFSET", 0, 0);  // present: "0" is written, not removed
  EXPECT_EQ(d.Child("OFFSET"), "0");

  SetNodeBoolean(d.item, "SINGLE", true, false);
  SetNodeBoolean(d.item, "READONLY", false, false);
  EXPECT_EQ(d.Child("SINGLE") + d.Child("READONLY"), "-1(absent)");
  SetNodeBoolean(d.item, "READONLY", false, false, true);
  EXPECT_EQ(d.Child("READONLY"), "0");
}

TEST(NodeAccess, DocumentsElementsAndLookUps) {
  xml::Node declaration = NewDocument().firstChild();
  EXPECT_EQ(declaration.nodeType(), xml::NodeType::ProcessingInstruction);
  EXPECT_EQ(declaration.nodeName(), "xml");
  EXPECT_EQ(declaration.nodeValue(), "version = \"1.0\" encoding=\"windows-1252\"");

  EXPECT_EQ(CreateElement("CHANNEL").nodeName(), "CHANNEL");  // works without users too

  EXPECT_EQ(ParseNode("<A><B>x</B></A>").nodeName(), "A");
  EXPECT_TRUE(ParseNode("<A><B></A>").isNull());

  Doc d;
  xml::Node setup = GetSetupNode(d.item);
  EXPECT_EQ(setup.parentNode(), d.item);
  EXPECT_EQ(GetSetupNode(d.item), setup);  // made once

  std::vector<xml::Node> nodes;
  for (const char* alias : {"Flow", "abc", "ABC"}) {
    nodes.push_back(CreateElement("CHANNEL"));
    SetNodeText(nodes.back(), "ALIAS", alias);
  }
  EXPECT_EQ(FindNodeIndex(nodes, "ALIAS", "ABC"), 1);
  EXPECT_EQ(FindNodeIndex(nodes, "ALIAS", "flow"), 0);
  EXPECT_EQ(FindNodeIndex(nodes, "ALIAS", "Level"), -1);
}

TEST(NodeAccess, EscapedProgramText) {
  EXPECT_EQ(EscapeText("a\\b\r\nc\t"), "a\\\\b\\nc\\t");
  EXPECT_EQ(EscapeText("  one\rtwo\nthree  "), "one\\ntwo\nthree");  // a lone LF stays
  EXPECT_EQ(EscapeText("   "), "");

  EXPECT_EQ(UnescapeText("a\\\\b\\nc\\t"), "a\\b\r\nc\t");
  EXPECT_EQ(UnescapeText("a\\qb"), "a\\qb");    // an unknown escape keeps its backslash
  EXPECT_EQ(UnescapeText("x\\\\ny"), "x\\ny");  // "\\n" is a backslash and an n
  EXPECT_EQ(UnescapeText("dir\\\\"), "dir\\");  // trailing "\\"
  EXPECT_EQ(UnescapeText("dir\\"), "dir\\");    // a trailing single backslash
  EXPECT_EQ(UnescapeText("\\\\\\\\"), "\\\\");
  EXPECT_EQ(UnescapeText(" \\tx "), "\tx");

  std::string program = ".if pass==INIT_PASS\r\n\tmov r1, \\n\r\n\tdb \"C:\\LOG\\\"\\\\\r\n.endif";
  EXPECT_EQ(UnescapeText(EscapeText(program)), program);
}

TEST(NodeAccess, PathHelpers) {
  // A backslash is added once, to the trimmed text; text that ends in one once trimmed stays.
  for (auto [before, after] : {std::pair{"C:\\LIB  ", "C:\\LIB\\"},
                               {"C:\\LIB\\", "C:\\LIB\\"},
                               {"C:\\LIB\\ ", "C:\\LIB\\ "},
                               {"", "\\"}}) {
    std::string path = before;
    AddBackslash(path);
    EXPECT_EQ(path, after) << before;
  }
  EXPECT_EQ(StripNull(std::string("abc\0def", 7)), "abc");
}

}  // namespace
}  // namespace corvale

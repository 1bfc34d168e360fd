#include "corvale/libraries/xml_instruments.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "corvale/binding/node_access.h"
#include "corvale/core/error.h"
#include "corvale/core/registry.h"
#include "corvale/libraries/library_support.h"
#include "tests/support/test_support.h"

namespace corvale {
namespace {

using namespace corvale::test;

constexpr const char* kLibraryXml = R"(<?xml version="1.0" encoding="UTF-8"?>
<PennardInstrumentLibrary NAME="Site">
  <NAME>Site</NAME>
  <VERSION>2.5abc</VERSION>
  <INSTRUMENT><CATCODE>ABC</CATCODE><NAME>Air temperature</NAME></INSTRUMENT>
  <INSTRUMENT><CATCODE>T1</CATCODE><NAME>Tank level</NAME><BASECLASS>Test.Probe</BASECLASS></INSTRUMENT>
  <INSTRUMENT><CATCODE>REF</CATCODE><NAME>Borrowed</NAME><BASECLASS>Test.Catalogue|K9</BASECLASS></INSTRUMENT>
  <INSTRUMENT><CATCODE>BAD</CATCODE><BASECLASS>Nowhere.Class</BASECLASS></INSTRUMENT>
</PennardInstrumentLibrary>
)";
constexpr const char* kDeclaration = R"(<?xml version = "1.0" encoding="windows-1252"?>)";

class XmlInstrumentsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    RegisterClass("Test.Probe", [] { return CreateObject("Corvale2.clsStdInstrument"); });
    RegisterClass("Test.Catalogue", [] {
      auto library = std::make_shared<XMLInstruments>();
      library->Add(NewInstrument("K9", "From the catalogue"));
      return library;
    });
    ASSERT_TRUE(sample.Load(WriteFile("sample.xml", kLibraryXml)));
  }
  void TearDown() override {
    UnregisterClass("Test.Probe");
    UnregisterClass("Test.Catalogue");
  }
  XMLInstruments sample;
};

TEST_F(XmlInstrumentsTest, NewLibraryAndRootPropertiesSaveAsWritten) {
  XMLInstruments library;
  const std::string empty = TempDir() + "/empty.xml";
  EXPECT_FALSE(library.Save(empty));  // false, though it saved
  EXPECT_EQ(library.Source(), empty);
  EXPECT_EQ(ReadFile(empty).rfind(std::string(kDeclaration) + "\r\n<PennardInstrumentLibrary/>", 0),
            0u);

  // Absent VISIBILITY and EDITMODE read -1 and are written back; 0 removes them again.
  xml::Node root = library.XMLNode();
  EXPECT_EQ(library.Visibility(), -1);
  EXPECT_EQ(ChildText(root, "VISIBILITY"), "-1");
  library.Visibility(0);
  library.EditMode(0);
  EXPECT_EQ(ChildTexts(root, {"VISIBILITY", "EDITMODE"}), "(absent)|(absent)");
  EXPECT_EQ(library.Visibility() + library.EditMode(), -2);
  EXPECT_FLOAT_EQ(sample.Version(), 2.5f);  // "2.5abc"

  library.Name("Harbour é°µ");
  EXPECT_EQ(root.getAttribute("NAME"), "Harbour é°µ");
  library.Version(3.25f);
  library.Provider("Quay Instruments");
  for (int i = 1; i <= 3; ++i) {
    InstrumentPtr added =
        library.Add(NewInstrument("C" + std::to_string(i), "Sensor °" + std::to_string(i)));
    EXPECT_EQ(added->Index(), library.Count());
  }
  library.LibraryItem("C2")->INPCode(".if pass==INIT_PASS\r\n\tnop\r\n.endif");
  library.Source("in memory only");
  const std::string path = TempDir() + "/built.xml";
  library.Save(path);
  EXPECT_EQ(ReadFile(path).find("in memory only"), std::string::npos);
  // Program text is kept on one line, escaped.
  EXPECT_TRUE(Contains(ReadFile(path), "<INPCODE>.if pass==INIT_PASS\\n\\tnop\\n.endif</INPCODE>"));

  XMLInstruments reread;
  ASSERT_TRUE(reread.Load(path));
  EXPECT_EQ(reread.Name() + "|" + reread.Provider(), "Harbour é°µ|Quay Instruments");
  EXPECT_FLOAT_EQ(reread.Version(), 3.25f);
  ASSERT_EQ(reread.Count(), 3);
  EXPECT_EQ(reread.Item(3)->Name(), "Sensor °3");
  EXPECT_EQ(reread.Item("c2")->INPCode(), ".if pass==INIT_PASS\r\n\tnop\r\n.endif");
  const std::string again = TempDir() + "/built-again.xml";
  reread.Save(again);
  EXPECT_EQ(ReadFile(again), ReadFile(path));
}

TEST_F(XmlInstrumentsTest, ItemFindsByPositionOrCodeAndHandsOutACopy) {
  EXPECT_EQ(XMLInstruments().Item(1), nullptr);
  EXPECT_EQ(sample.Item(2)->CatCode(), "T1");
  EXPECT_EQ(sample.Item("nope"), nullptr);
  EXPECT_EQ(sample.Item(0), nullptr);
  EXPECT_EQ(ErrorOf([&] { sample.Item(5); }), err::kObjectNotSet);
  EXPECT_EQ(ErrorOf([&] { sample.LibraryItem("nope"); }), err::kObjectNotSet);
  EXPECT_EQ(ErrorOf([&] { sample.Remove("nope"); }), err::kObjectNotSet);

  InstrumentPtr item = sample.Item("abc");
  EXPECT_EQ(item->Source(), sample.File() + "|ABC");
  EXPECT_TRUE(item->LoadFromScheme());
  EXPECT_EQ(item->BaseClass(), "Corvale2.clsStdInstrument");
  item->Name("Edited copy");
  EXPECT_EQ(sample.Item("ABC")->Name(), "Air temperature");
  EXPECT_TRUE(sample.XMLNode().selectNodes("INSTRUMENT")[0].selectSingleNode("SOURCE").isNull());

  // A class name alone, or a library class and key: the text is kept, the copy is this one.
  EXPECT_EQ(sample.Item("T1")->BaseClass(), "Test.Probe");
  InstrumentPtr borrowed = sample.Item("REF");
  EXPECT_EQ(borrowed->BaseClass() + "|" + borrowed->Name(), "Test.Catalogue|K9|Borrowed");
  EXPECT_EQ(ErrorOf([&] { sample.Item("BAD"); }), err::kCannotCreateObject);
  EXPECT_EQ(ErrorOf([&] { sample.LibraryItem("BAD"); }), err::kCannotCreateObject);
}

TEST_F(XmlInstrumentsTest, LibraryItemEditsTheLibraryAndAlwaysNamesTheStandardClass) {
  InstrumentPtr probe = sample.LibraryItem("t1");
  EXPECT_EQ(probe->Source(), sample.File() + "|T1");
  EXPECT_FALSE(probe->LoadFromScheme());
  xml::Node element = sample.XMLNode().selectNodes("INSTRUMENT")[1];
  EXPECT_TRUE(probe->XMLNode() == element);
  EXPECT_EQ(ChildText(element, "BASECLASS"), "Corvale2.clsStdInstrument");
  probe->Name("Tank level (radar)");
  EXPECT_EQ(sample.Item("T1")->Name(), "Tank level (radar)");

  sample.Remove("T1");  // leaves the object on a detached element
  EXPECT_TRUE(probe->XMLNode().parentNode().isNull());
  EXPECT_EQ(probe->Name(), "Tank level (radar)");
}

TEST_F(XmlInstrumentsTest, CatalogueIndexFollowsEveryChange) {
  XMLInstruments library;
  for (const char* code : {"A", "B", "C", "D"}) library.Add(NewInstrument(code, code));
  library.Remove("A");  // shifts every position
  EXPECT_EQ(library.Item("c")->Name(), "C");
  EXPECT_EQ(library.Item("A"), nullptr);
  library.Remove(1);
  EXPECT_EQ(library.Item("B"), nullptr);

  // CATCODE edited through the element: found by the new code only, also when swapped.
  library.LibraryItem("D")->CatCode("E");
  EXPECT_EQ(library.Item("D"), nullptr);
  EXPECT_EQ(library.Item("e")->Name(), "D");
  library.LibraryItem("C")->CatCode("X");
  library.LibraryItem("E")->CatCode("C");
  EXPECT_EQ(library.Item("C")->Name(), "D");
  EXPECT_EQ(library.Item("X")->Name(), "C");

  // Two instruments with one code: the first is found, also after it moves to the end.
  library.Add(NewInstrument("X", "twin"));
  EXPECT_EQ(library.Item("X")->Name(), "C");
  library.Add(library.LibraryItem("X"));
  EXPECT_EQ(library.Count(), 3);
  EXPECT_EQ(library.Item("x")->Name(), "twin");
  // An earlier instrument given that code through its element is the first from then on.
  library.LibraryItem(1)->CatCode("X");
  EXPECT_EQ(library.Item("X")->Name(), "D");

  library.Clear();
  EXPECT_EQ(library.Item("C"), nullptr);
  EXPECT_TRUE(library.XMLNode().selectSingleNode("INSTRUMENT").isNull());
  library.Add(NewInstrument("ZZ"));
  ASSERT_TRUE(library.Load(sample.File()));
  EXPECT_EQ(library.Item("ZZ"), nullptr);
  EXPECT_EQ(library.Item("t1")->Name(), "Tank level");
}

TEST_F(XmlInstrumentsTest, CodeLookUpsSeeEveryEditOfTheElementsHandedOut) {
  XMLInstruments library;
  for (int i = 0; i < 300; ++i)
    library.Add(NewInstrument("C" + std::to_string(i), "N" + std::to_string(i)));
  std::vector<xml::Node> elements;
  for (int16_t i = 1; i <= 300; ++i) elements.push_back(library.LibraryItem(i)->XMLNode());
  // The name of the instrument a code finds ("N" and its 0-based position), or "none".
  auto found = [&](const std::string& code) {
    InstrumentPtr instrument = library.Item(code);
    return instrument ? instrument->Name() : "none";
  };
  EXPECT_EQ(found("C299"), "N299");

  // The text of CATCODE set on the element, or on its text node.
  elements[10].selectSingleNode("CATCODE").text("NEW");
  EXPECT_EQ(found("new"), "N10");
  EXPECT_EQ(found("C10"), "none");
  elements[11].selectSingleNode("CATCODE").firstChild().nodeValue("NEW");
  EXPECT_EQ(found("NEW"), "N10");  // the first instrument holding a code
  elements[10].selectSingleNode("CATCODE").text("OLD");
  EXPECT_EQ(found("NEW"), "N11");

  // CATCODE elements removed, put in front of another, or moved between instruments.
  xml::Node code = elements[200].selectSingleNode("CATCODE");
  elements[200].removeChild(code);
  EXPECT_EQ(found("C200"), "none");
  xml::Node front = elements[250].ownerDocument().createElement("CATCODE");
  front.text("C200");
  elements[250].insertBefore(front, elements[250].firstChild());
  EXPECT_EQ(found("C200"), "N250");
  EXPECT_EQ(found("C250"), "none");  // only the first CATCODE child counts
  elements[5].insertBefore(front, elements[5].firstChild());
  EXPECT_EQ(found("C200"), "N5");
  EXPECT_EQ(found("C250"), "N250");

  // A text node appended to a CATCODE element lengthens the code.
  xml::Node last = elements[299].selectSingleNode("CATCODE");
  last.appendChild(last.ownerDocument().createTextNode("X"));
  EXPECT_EQ(found("C299X"), "N299");
  EXPECT_EQ(found("C299"), "none");
}

TEST_F(XmlInstrumentsTest, IconRuleAsksTheHostForTheRightIcon) {
  auto host = std::make_shared<RecordingHost>();
  ScopedHostServices scope(host);
  using Requests = RecordingHost::Requests;
  auto requests = [&] {
    Requests library;  // instruments ask for their own icons in the group "HALDEN"
    for (const auto& request : host->iconRequests)
      if (request.second != "HALDEN") library.push_back(request);
    host->iconRequests.clear();
    return library;
  };

  EXPECT_NE(LibraryIcon("tank.ico", "C:\\LIB\\A.XML"), nullptr);
  EXPECT_EQ(requests(), (Requests{{"C:\\LIB\\TANK.ICO", ""}}));
  LibraryIcon("d:\\icons\\x.ico", "C:\\LIB\\A.XML");
  EXPECT_EQ(requests(), (Requests{{"D:\\ICONS\\X.ICO", ""}}));
  LibraryIcon("", "C:\\LIB\\A.XML");
  LibraryIcon("pump", "C:\\LIB\\A.XML");
  EXPECT_EQ(requests(), (Requests{{"XML", "Corvale2"}, {"PUMP", "Corvale2"}}));

  // On disk the upper-cased name finds the file whatever its case, "\" separating folders.
  const std::string folder = TempDir() + "/icons-lib";
  WriteFile(folder + "/tank.ico", "ico");
  WriteFile(folder + "/Pictures/Pump.Ico", "ico");
  XMLInstruments library;
  ASSERT_TRUE(library.Load(WriteFile(folder + "/lib.xml",
                                     "<PennardInstrumentLibrary><ICONSOURCE>Tank.ico</ICONSOURCE>"
                                     "</PennardInstrumentLibrary>")));
  EXPECT_EQ(requests(), (Requests{{folder + "/tank.ico", ""}}));
  EXPECT_NE(library.Icon(), nullptr);
  library.IconSource("pictures\\pump.ico");
  library.IconSource(folder + "/pictures/pump.ico");  // an absolute path of this system
  EXPECT_EQ(requests(),
            (Requests{{folder + "/Pictures/Pump.Ico", ""}, {folder + "/Pictures/Pump.Ico", ""}}));

  // LibraryItem gives the instrument its icon by the library's rule; Item does not.
  library.Add(NewInstrument("P1"));
  library.LibraryItem("P1")->IconSource("pump");
  requests();
  EXPECT_NE(library.LibraryItem("P1")->Icon(), nullptr);
  EXPECT_EQ(requests(), (Requests{{"PUMP", "Corvale2"}}));
  library.Item("P1");
  EXPECT_EQ(requests(), Requests{});

  host->iconsFail = true;  // failures give no icon and fail nothing
  library.IconSource("missing.ico");
  EXPECT_EQ(library.Icon(), nullptr);
  EXPECT_EQ(requests(), (Requests{{folder + "/MISSING.ICO", ""}}));
}

TEST_F(XmlInstrumentsTest, BadFilesLoadFalseAndKeepWhatTheyShould) {
  const std::string good = sample.File();
  const std::string broken = WriteFile("broken.xml", "<PennardInstrumentLibrary>\n<NAME>x</NAM>\n");
  EXPECT_FALSE(sample.Load(broken));
  EXPECT_EQ(sample.Source() + "|" + sample.File(), good + "|" + good);
  EXPECT_EQ(sample.Count(), 0);  // cleared before the parse
  EXPECT_EQ(sample.ParseError().line, 2);
  EXPECT_GT(sample.ParseError().linepos, 0);
  EXPECT_FALSE(sample.Load(TempDir() + "/no-such-file.xml"));

  const std::string other = WriteFile("other-root.xml", "<LOGGERS><INSTRUMENT/></LOGGERS>");
  EXPECT_FALSE(sample.Load(other));  // a document, but no library: Source and File still set
  EXPECT_EQ(sample.Count(), 0);
  EXPECT_EQ(sample.Source() + "|" + sample.File(), other + "|" + other);

  const std::string before = ReadFile(good);
  XMLInstruments library;
  ASSERT_TRUE(library.Load(good));
  library.Name("changed");
  EXPECT_NE(ErrorOf([&] { library.Save(TempDir() + "/no-such-folder/lib.xml"); }), 0);
  EXPECT_EQ(ReadFile(good), before);
}

}  // namespace
}  // namespace corvale

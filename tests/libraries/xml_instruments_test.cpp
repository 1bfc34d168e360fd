#include "corvale/libraries/xml_instruments.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>

#include "corvale/core/error.h"
#include "corvale/core/node_access.h"
#include "corvale/core/registry.h"
#include "corvale/libraries/library_support.h"
#include "tests/libraries/library_test_host.h"
#include "tests/support/test_support.h"

namespace corvale {
namespace {

using test::LibraryTestHost;
using test::ReadFile;
using test::TempDir;
using test::WriteFile;

InstrumentPtr NewInstrument(const std::string& catCode, const std::string& name) {
  auto instrument =
      std::dynamic_pointer_cast<IInstrument>(CreateObject("Corvale2.clsStdInstrument"));
  instrument->CatCode(catCode);
  instrument->Name(name);
  return instrument;
}

int ErrorNumber(const std::function<void()>& call) {
  try {
    call();
  } catch (const Error& error) {
    return error.number();
  }
  return 0;
}

constexpr const char* kLibraryXml = R"(<?xml version="1.0" encoding="UTF-8"?>
<PennardInstrumentLibrary NAME="Site">
  <NAME>Site</NAME>
  <VERSION>2.5abc</VERSION>
  <INSTRUMENT><CATCODE>ABC</CATCODE><NAME>Air temperature</NAME><VERSION>2</VERSION></INSTRUMENT>
  <INSTRUMENT><CATCODE>T1</CATCODE><NAME>Tank level</NAME><BASECLASS>Test.Probe</BASECLASS></INSTRUMENT>
  <INSTRUMENT><CATCODE>REF</CATCODE><NAME>Borrowed</NAME><BASECLASS>Test.Catalogue|K9</BASECLASS></INSTRUMENT>
  <INSTRUMENT><CATCODE>BAD</CATCODE><BASECLASS>Nowhere.Class</BASECLASS></INSTRUMENT>
</PennardInstrumentLibrary>
)";

class XmlInstrumentsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    RegisterClass("Test.Probe", [] { return CreateObject("Corvale2.clsStdInstrument"); });
    RegisterClass("Test.Catalogue", [] {
      auto library = std::make_shared<XMLInstruments>();
      library->Source("catalogue");
      library->Add(NewInstrument("K9", "From the catalogue"));
      return library;
    });
  }
  void TearDown() override {
    UnregisterClass("Test.Probe");
    UnregisterClass("Test.Catalogue");
  }
  std::shared_ptr<XMLInstruments> LoadSample(const std::string& name) {
    auto library = std::make_shared<XMLInstruments>();
    EXPECT_TRUE(library->Load(WriteFile(name, kLibraryXml)));
    return library;
  }
};

TEST_F(XmlInstrumentsTest, NewLibrarySavesDeclarationAndEmptyRoot) {
  XMLInstruments library;
  EXPECT_EQ(library.Count(), 0);
  EXPECT_EQ(library.Source(), "");
  EXPECT_EQ(library.File(), "");
  EXPECT_EQ(library.Icon(), nullptr);
  EXPECT_EQ(library.XMLNode().nodeName(), "PennardInstrumentLibrary");

  const std::string path = TempDir() + "/new-library.xml";
  EXPECT_FALSE(library.Save(path));  // false even though it saved
  EXPECT_EQ(library.File(), path);
  EXPECT_EQ(library.Source(), path);
  const std::string bytes = ReadFile(path);
  EXPECT_EQ(bytes.rfind(R"(<?xml version = "1.0" encoding="windows-1252"?>)", 0), 0u) << bytes;
  EXPECT_NE(bytes.find("<PennardInstrumentLibrary/>"), std::string::npos) << bytes;

  XMLInstruments reread;
  EXPECT_TRUE(reread.Load(path));
  EXPECT_EQ(reread.Count(), 0);
}

TEST_F(XmlInstrumentsTest, RootPropertiesKeepTheirDefaultsAndWriteRules) {
  auto library = LoadSample("props.xml");
  EXPECT_EQ(library->Name(), "Site");
  EXPECT_FLOAT_EQ(library->Version(), 2.5f);
  xml::Node root = library->XMLNode();

  // Absent VISIBILITY and EDITMODE read -1 and are written back; DESCRIPTION stays absent.
  EXPECT_EQ(library->Visibility(), -1);
  EXPECT_EQ(library->EditMode(), -1);
  EXPECT_EQ(root.selectSingleNode("VISIBILITY").text(), "-1");
  EXPECT_EQ(root.selectSingleNode("EDITMODE").text(), "-1");
  EXPECT_EQ(library->Description(), "");
  EXPECT_TRUE(root.selectSingleNode("DESCRIPTION").isNull());

  // 0 is stored by absence, so it reads back as the default -1.
  library->Visibility(0);
  EXPECT_TRUE(root.selectSingleNode("VISIBILITY").isNull());
  EXPECT_EQ(library->Visibility(), -1);
  library->EditMode(0);
  EXPECT_EQ(library->EditMode(), -1);

  library->Name("Harbour sensors");
  EXPECT_EQ(root.getAttribute("NAME"), "Harbour sensors");
  library->Version(3.25f);
  EXPECT_EQ(root.selectSingleNode("VERSION").text(), "3.25");
  library->Provider("Quay Instruments");
  library->Description("Tide and weather");

  // Source lives in memory only.
  library->Source("renamed");
  const std::string saved = TempDir() + "/props-saved.xml";
  library->Save(saved);
  const std::string bytes = ReadFile(saved);
  EXPECT_EQ(bytes.find("renamed"), std::string::npos);
  XMLInstruments reread;
  ASSERT_TRUE(reread.Load(saved));
  EXPECT_EQ(reread.Name(), "Harbour sensors");
  EXPECT_EQ(reread.Provider(), "Quay Instruments");
  EXPECT_EQ(reread.Description(), "Tide and weather");
  EXPECT_FLOAT_EQ(reread.Version(), 3.25f);
  EXPECT_EQ(reread.Count(), 4);
}

TEST_F(XmlInstrumentsTest, BuiltLibrarySurvivesSaveAndReload) {
  XMLInstruments library;
  library.Name("Built");
  for (int i = 1; i <= 3; ++i) {
    InstrumentPtr added =
        library.Add(NewInstrument("C" + std::to_string(i), "Sensor é°µ " + std::to_string(i)));
    EXPECT_EQ(added->Index(), library.Count());
  }
  library.LibraryItem("C2")->INPCode(".if pass==INIT_PASS\r\n  nop\r\n.endif");
  const std::string path = TempDir() + "/built.xml";
  library.Save(path);

  XMLInstruments reread;
  ASSERT_TRUE(reread.Load(path));
  ASSERT_EQ(reread.Count(), 3);
  for (int i = 1; i <= 3; ++i) {
    InstrumentPtr item = reread.Item(i);
    EXPECT_EQ(item->CatCode(), "C" + std::to_string(i));
    EXPECT_EQ(item->Name(), "Sensor é°µ " + std::to_string(i));
  }
  EXPECT_EQ(reread.Item("c2")->INPCode(), ".if pass==INIT_PASS\r\n  nop\r\n.endif");

  // A reloaded library saves to the same bytes.
  const std::string again = TempDir() + "/built-again.xml";
  reread.Save(again);
  EXPECT_EQ(ReadFile(again), ReadFile(path));
}

TEST_F(XmlInstrumentsTest, PositionsAndCatalogueCodes) {
  XMLInstruments empty;
  EXPECT_EQ(empty.Item(1), nullptr);
  EXPECT_EQ(empty.Item(0), nullptr);
  EXPECT_EQ(empty.Item("ABC"), nullptr);

  auto library = LoadSample("lookups.xml");
  EXPECT_EQ(library->Item("abc")->Name(), "Air temperature");
  EXPECT_EQ(library->Item("Abc")->CatCode(), "ABC");
  EXPECT_EQ(library->Item(2)->CatCode(), "T1");
  EXPECT_EQ(library->Item("nope"), nullptr);
  EXPECT_EQ(library->Item(0), nullptr);
  EXPECT_EQ(library->Item(-3), nullptr);
  EXPECT_EQ(ErrorNumber([&] { library->Item(5); }), err::kObjectNotSet);
  EXPECT_EQ(ErrorNumber([&] { library->LibraryItem("nope"); }), err::kObjectNotSet);
  EXPECT_EQ(ErrorNumber([&] { library->LibraryItem(9); }), err::kObjectNotSet);
  EXPECT_EQ(ErrorNumber([&] { library->Remove("nope"); }), err::kObjectNotSet);
  EXPECT_EQ(ErrorNumber([&] { library->Item(40000); }), err::kOverflow);
  EXPECT_EQ(library->Count(), 4);
}

TEST_F(XmlInstrumentsTest, ItemIsAnIndependentCopyWithItsLibraryReference) {
  auto library = LoadSample("items.xml");
  const std::string path = library->File();

  InstrumentPtr item = library->Item("abc");
  EXPECT_EQ(item->Source(), path + "|ABC");
  EXPECT_TRUE(item->LoadFromScheme());
  EXPECT_EQ(item->BaseClass(), "Corvale2.clsStdInstrument");
  EXPECT_TRUE(item->XMLNode().parentNode().isNull());
  item->Name("Edited copy");
  EXPECT_EQ(library->Item("ABC")->Name(), "Air temperature");
  xml::Node original = library->XMLNode().selectNodes("INSTRUMENT")[0];
  EXPECT_TRUE(original.selectSingleNode("SOURCE").isNull());
  EXPECT_TRUE(original.selectSingleNode("LOADFROMSCHEME").isNull());

  // A class name alone: an object of that class, with the text kept.
  InstrumentPtr probe = library->Item("T1");
  EXPECT_EQ(probe->BaseClass(), "Test.Probe");
  EXPECT_EQ(probe->Name(), "Tank level");

  // Class name and key: taken from that library class, bound to a copy of this element.
  InstrumentPtr borrowed = library->Item("REF");
  EXPECT_EQ(borrowed->BaseClass(), "Test.Catalogue|K9");
  EXPECT_EQ(borrowed->Name(), "Borrowed");
  EXPECT_EQ(borrowed->Source(), path + "|REF");

  // A class that cannot be created fails the call with the creation error.
  EXPECT_EQ(ErrorNumber([&] { library->Item("BAD"); }), err::kCannotCreateObject);
  EXPECT_EQ(ErrorNumber([&] { library->LibraryItem("BAD"); }), err::kCannotCreateObject);
}

TEST_F(XmlInstrumentsTest, LibraryItemEditsTheLibraryAndAlwaysNamesTheStandardClass) {
  auto library = LoadSample("library-items.xml");
  InstrumentPtr probe = library->LibraryItem("t1");
  EXPECT_EQ(probe->Source(), library->File() + "|T1");
  EXPECT_EQ(probe->BaseClass(), "Corvale2.clsStdInstrument");
  EXPECT_FALSE(probe->LoadFromScheme());

  // Bound to the library's own element: the BASECLASS written there, and edits, stay.
  xml::Node element = library->XMLNode().selectNodes("INSTRUMENT")[1];
  EXPECT_TRUE(probe->XMLNode() == element);
  EXPECT_EQ(GetNodeText(element, "BASECLASS", ""), "Corvale2.clsStdInstrument");
  probe->Name("Tank level (radar)");
  EXPECT_EQ(library->Item("T1")->Name(), "Tank level (radar)");
  EXPECT_EQ(library->Item("T1")->BaseClass(), "Corvale2.clsStdInstrument");

  // Removed elements leave LibraryItem objects pointing at a detached element.
  library->Remove("T1");
  EXPECT_TRUE(probe->XMLNode().parentNode().isNull());
  EXPECT_EQ(probe->Name(), "Tank level (radar)");
}

TEST_F(XmlInstrumentsTest, CatalogueIndexFollowsEveryChange) {
  XMLInstruments library;
  library.Add(NewInstrument("A", "first"));
  library.Add(NewInstrument("B", "second"));
  library.Add(NewInstrument("C", "third"));
  EXPECT_EQ(library.Item("c")->Name(), "third");

  library.Remove("A");  // shifts every position
  EXPECT_EQ(library.Item("B")->Name(), "second");
  EXPECT_EQ(library.Item("C")->Name(), "third");
  EXPECT_EQ(library.Item("A"), nullptr);
  library.Remove(1);
  EXPECT_EQ(library.Item("B"), nullptr);
  EXPECT_EQ(library.Item(1)->CatCode(), "C");

  // An edit of CATCODE through the element: found by the new code only.
  library.Add(NewInstrument("D", "fourth"));
  library.LibraryItem("D")->CatCode("E");
  EXPECT_EQ(library.Item("D"), nullptr);
  EXPECT_EQ(library.Item("e")->Name(), "fourth");
  library.LibraryItem("C")->CatCode("X");
  library.LibraryItem("E")->CatCode("C");
  EXPECT_EQ(library.Item("C")->Name(), "fourth");
  EXPECT_EQ(library.Item("X")->Name(), "third");

  // The first of two instruments with one code is the one found.
  library.Add(NewInstrument("X", "late twin"));
  EXPECT_EQ(library.Item("X")->Name(), "third");

  // Adding an instrument that is already in the library moves it to the end.
  InstrumentPtr third = library.LibraryItem("X");
  library.Add(third);
  EXPECT_EQ(library.Count(), 3);
  EXPECT_EQ(library.Item(3)->Name(), "third");
  EXPECT_EQ(library.Item("x")->Name(), "late twin");

  library.Clear();
  EXPECT_EQ(library.Count(), 0);
  EXPECT_EQ(library.Item("C"), nullptr);
  EXPECT_TRUE(library.XMLNode().selectSingleNode("INSTRUMENT").isNull());

  const std::string path = WriteFile("index-load.xml", kLibraryXml);
  library.Add(NewInstrument("ZZ", "gone after load"));
  ASSERT_TRUE(library.Load(path));
  EXPECT_EQ(library.Item("ZZ"), nullptr);
  EXPECT_EQ(library.Item("t1")->Name(), "Tank level");
}

TEST_F(XmlInstrumentsTest, IconRuleAsksTheHostForTheRightIcon) {
  auto host = std::make_shared<LibraryTestHost>();
  ScopedHostServices scope(host);
  auto requests = [&] {
    std::vector<std::pair<std::string, std::string>> library;
    for (const auto& request : host->iconRequests)
      if (request.second != "HALDEN") library.push_back(request);  // not instruments' icons
    host->iconRequests.clear();
    return library;
  };
  using Request = std::pair<std::string, std::string>;

  // Windows paths as documents carry them.
  EXPECT_NE(LibraryIcon("tank.ico", "C:\\LIB\\A.XML"), nullptr);
  EXPECT_EQ(requests(), (std::vector<Request>{{"C:\\LIB\\TANK.ICO", ""}}));
  LibraryIcon("d:\\icons\\x.ico", "C:\\LIB\\A.XML");
  EXPECT_EQ(requests(), (std::vector<Request>{{"D:\\ICONS\\X.ICO", ""}}));
  LibraryIcon("", "C:\\LIB\\A.XML");
  EXPECT_EQ(requests(), (std::vector<Request>{{"XML", "Corvale2"}}));
  LibraryIcon("pump", "C:\\LIB\\A.XML");
  EXPECT_EQ(requests(), (std::vector<Request>{{"PUMP", "Corvale2"}}));
  LibraryIcon("tank.ico", "A.XML");
  EXPECT_EQ(requests(), (std::vector<Request>{{"TANK.ICO", ""}}));

  // On disk, the upper-cased name finds the file whatever its case, also in a subfolder
  // named with "\".
  const std::string folder = TempDir() + "/icons-lib";
  WriteFile(folder + "/tank.ico", "ico");
  WriteFile(folder + "/Pictures/Pump.Ico", "ico");
  const std::string path = WriteFile(
      folder + "/lib.xml",
      "<PennardInstrumentLibrary><ICONSOURCE>Tank.ico</ICONSOURCE></PennardInstrumentLibrary>");
  XMLInstruments library;
  ASSERT_TRUE(library.Load(path));
  EXPECT_EQ(requests(), (std::vector<Request>{{folder + "/tank.ico", ""}}));
  ASSERT_NE(library.Icon(), nullptr);
  library.IconSource("pictures\\pump.ico");
  EXPECT_EQ(requests(), (std::vector<Request>{{folder + "/Pictures/Pump.Ico", ""}}));
  EXPECT_EQ(library.IconSource(), "pictures\\pump.ico");

  // An absolute path of this system is taken as it stands, found whatever its case.
  library.IconSource(folder + "/pictures/pump.ico");
  EXPECT_EQ(requests(), (std::vector<Request>{{folder + "/Pictures/Pump.Ico", ""}}));

  // Failures give no icon and fail nothing.
  host->iconsFail = true;
  library.IconSource("missing.ico");
  EXPECT_EQ(library.Icon(), nullptr);
  EXPECT_EQ(requests(), (std::vector<Request>{{folder + "/MISSING.ICO", ""}}));
  EXPECT_TRUE(library.Load(path));
  EXPECT_EQ(library.Icon(), nullptr);
}

TEST_F(XmlInstrumentsTest, BadFilesLoadFalseAndKeepWhatTheyShould) {
  auto library = LoadSample("good.xml");
  const std::string good = library->File();

  // Not XML: false, the parse error tells where, Source and File stay.
  const std::string broken =
      WriteFile("broken.xml", "<PennardInstrumentLibrary>\n  <NAME>x</NAM>\n");
  EXPECT_FALSE(library->Load(broken));
  EXPECT_EQ(library->Source(), good);
  EXPECT_EQ(library->File(), good);
  EXPECT_EQ(library->Count(), 0);  // cleared before the parse
  EXPECT_NE(library->ParseError().errorCode, 0);
  EXPECT_EQ(library->ParseError().line, 2);
  EXPECT_GT(library->ParseError().linepos, 0);
  EXPECT_FALSE(library->Load(TempDir() + "/no-such-file.xml"));

  // Another root: false and no instruments, yet Source and File name the file.
  const std::string other = WriteFile("other-root.xml", "<LOGGERS><INSTRUMENT/></LOGGERS>");
  EXPECT_FALSE(library->Load(other));
  EXPECT_EQ(library->Count(), 0);
  EXPECT_EQ(library->Source(), other);
  EXPECT_EQ(library->File(), other);
  EXPECT_TRUE(library->XMLNode().isNull());

  // A failed save rises, and the library keeps its own file as it was.
  const std::string before = ReadFile(good);
  auto again = LoadSample("good.xml");
  EXPECT_NE(ErrorNumber([&] { again->Save(TempDir() + "/no-such-folder/lib.xml"); }), 0);
  EXPECT_EQ(ReadFile(good), before);
}

}  // namespace
}  // namespace corvale

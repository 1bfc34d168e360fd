// The XML tree's documents: load, parse errors, encodings, the saved form.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

#include "corvale/core/error.h"
#include "corvale/xml/internal/parser.h"
#include "corvale/xml/xml.h"
#include "tests/support/test_support.h"

namespace corvale::xml {
namespace {

constexpr std::string_view kDecl = "version = \"1.0\" encoding=\"windows-1252\"";

Document NewLibraryDocument() {
  Document doc = Document::create();
  doc.appendChild(doc.createProcessingInstruction("xml", kDecl));
  return doc;
}

Document Loaded(std::string_view bytes) {
  Document doc = Document::create();
  EXPECT_TRUE(doc.loadXML(bytes)) << doc.parseError().reason << " at line "
                                  << doc.parseError().line;
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

  Document again = Loaded(saved);
  Node decl = again.firstChild();
  EXPECT_EQ(decl.nodeType(), NodeType::ProcessingInstruction);
  EXPECT_EQ(decl.nodeName(), "xml");
  EXPECT_EQ(decl.nodeValue(), kDecl);
  EXPECT_EQ(again.documentElement().selectSingleNode("NAME").text(),
            "Caf\xC3\xA9 25\xC2\xB0"
            "C");
  EXPECT_EQ(again.saveToString(), saved);

  // Without a declaration a document is UTF-8 and is saved without one.
  Document plain = Loaded("<A>\xC3\xA9</A>");
  EXPECT_EQ(plain.encoding(), "UTF-8");
  EXPECT_EQ(plain.saveToString(), "<A>\xC3\xA9</A>\r\n");
}

TEST(XmlDocument, Windows1252RoundTripsEveryByte) {
  std::string high;
  for (int b = 0x80; b <= 0xFF; ++b) high += static_cast<char>(b);
  std::string file = "<?xml version=\"1.0\" encoding=\"windows-1252\"?>\r\n<T>" + high + "</T>\r\n";
  Document doc = Loaded(file);
  std::string text = doc.documentElement().text();
  EXPECT_EQ(text.substr(0, 3), "\xE2\x82\xAC");                 // 0x80: euro sign
  EXPECT_EQ(text.substr(3, 2), "\xC2\x81");                     // 0x81: unused, kept as U+0081
  EXPECT_NE(text.find("\xC5\xB8"), std::string::npos);          // 0x9F: Y with diaeresis
  EXPECT_EQ(text.substr(text.size() - 4), "\xC3\xBE\xC3\xBF");  // 0xFE 0xFF
  EXPECT_EQ(doc.saveToString(), file);

  // What windows-1252 cannot hold is written as a character reference and read back.
  doc.documentElement().text("\xCE\xA9 \xF0\x9F\x98\x80 \xE2\x82\xAC");
  doc.documentElement().setAttribute("UNIT", "\xCE\xBC\xC2\xB5");
  std::string saved = doc.saveToString();
  EXPECT_NE(saved.find("<T UNIT=\"&#956;\xB5\">&#937; &#128512; \x80</T>"), std::string::npos);
  Document again = Loaded(saved);
  EXPECT_EQ(again.documentElement().text(), "\xCE\xA9 \xF0\x9F\x98\x80 \xE2\x82\xAC");
  EXPECT_EQ(again.documentElement().getAttribute("UNIT"), "\xCE\xBC\xC2\xB5");
}

TEST(XmlDocument, OtherEncodingsLoadAndSave) {
  // ISO-8859-1, natively.
  std::string latin = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\r\n<T>\xE9\xB0\xFF</T>\r\n";
  Document doc = Loaded(latin);
  EXPECT_EQ(doc.documentElement().text(), "\xC3\xA9\xC2\xB0\xC3\xBF");
  EXPECT_EQ(doc.saveToString(), latin);
  doc.documentElement().text("\xE2\x82\xAC");
  EXPECT_NE(doc.saveToString().find("<T>&#8364;</T>"), std::string::npos);

  // UTF-16 with a byte order mark, both byte orders; saved as UTF-16LE with a mark.
  std::u16string content =
      u"<?xml version=\"1.0\" encoding=\"UTF-16\"?>\r\n<T>\u00E9\u03A9</T>\r\n";
  std::string le = "\xFF\xFE", be = "\xFE\xFF";
  for (char16_t c : content) {
    le += static_cast<char>(c & 0xFF);
    le += static_cast<char>(c >> 8);
    be += static_cast<char>(c >> 8);
    be += static_cast<char>(c & 0xFF);
  }
  Document wide = Loaded(le);
  EXPECT_EQ(wide.encoding(), "UTF-16");
  EXPECT_EQ(wide.documentElement().text(), "\xC3\xA9\xCE\xA9");
  EXPECT_EQ(wide.saveToString(), le);
  EXPECT_EQ(Loaded(be).documentElement().text(), "\xC3\xA9\xCE\xA9");

  // A code page expat does not know, through the system's tables: ISO-8859-15 has the euro
  // sign at 0xA4.
  std::string euro = "<?xml version=\"1.0\" encoding=\"ISO-8859-15\"?>\r\n<T>\xA4</T>\r\n";
  Document fifteen = Loaded(euro);
  EXPECT_EQ(fifteen.documentElement().text(), "\xE2\x82\xAC");
  EXPECT_EQ(fifteen.saveToString(), euro);

  // An encoding nobody knows is a parse error, not a guess.
  Document unknown = Document::create();
  EXPECT_FALSE(unknown.loadXML("<?xml version=\"1.0\" encoding=\"x-none\"?><T/>"));
  EXPECT_EQ(unknown.parseError().errorCode, 18);  // unknown encoding
}

TEST(XmlDocument, TextAndAttributesSurviveSaveAndLoad) {
  Document doc = NewLibraryDocument();
  Node root = doc.appendChild(doc.createElement("R"));
  const std::string text = "a < b && c > d \"q\" 'x'\r\nline2\nline3\rend\tTab ";
  const std::string attr = "tab\there\r\nnew\nline<&>\"'";
  Node t = root.appendChild(doc.createElement("TEXT"));
  t.text(text);
  t.setAttribute("V", attr);
  root.appendChild(doc.createElement("CODE")).appendChild(doc.createCDATASection("x]]>y\nz"));
  root.appendChild(doc.createElement("BLANK")).text("   ");
  // Closing marks inside a comment or an instruction are split so that the file loads.
  root.appendChild(doc.createComment("a--b-"));
  root.appendChild(doc.createProcessingInstruction("pi", "x?>y"));
  std::string saved = doc.saveToString();
  EXPECT_NE(saved.find("V=\"tab&#9;here&#13;&#10;new&#10;line&lt;&amp;&gt;&quot;'\""),
            std::string::npos);

  Document again = Loaded(saved);
  Node r = again.documentElement();
  EXPECT_EQ(r.selectSingleNode("TEXT").text(), text);
  EXPECT_EQ(r.selectSingleNode("TEXT").getAttribute("V"), attr);
  EXPECT_EQ(r.selectSingleNode("CODE").text(), "x]]>y\nz");
  EXPECT_EQ(r.selectSingleNode("BLANK").text(), "   ");
  EXPECT_EQ(r.lastChild().previousSibling().nodeValue(), "a- -b- ");
  EXPECT_EQ(r.lastChild().nodeValue(), "x? >y");
  EXPECT_EQ(again.saveToString(), saved);
}

TEST(XmlDocument, IndentationDropsOnlyIndentationAndIsStable) {
  const std::string source =
      "<?xml version=\"1.0\"?>\n"
      "<!-- top -->\n"
      "<LIB>\n"
      "    <ITEM> spaced </ITEM>\n"
      "    <EMPTY>   </EMPTY>\n"
      "    <MIXED>one <B>two</B> three<C>\n"
      "  <D/>\n"
      "</C></MIXED>\n"
      "    <NOTES>  <!-- only a comment -->  </NOTES>\n"
      "    <?tool run?>\n"
      "    <NEST><A><B/></A></NEST>\n"
      "</LIB>\n"
      "<?after end?>\n";
  Document doc = Loaded(source);
  Node lib = doc.documentElement();
  EXPECT_EQ(lib.childNodes().size(), 6u);  // the indentation between elements is gone
  EXPECT_EQ(lib.selectSingleNode("ITEM").text(), " spaced ");
  EXPECT_EQ(lib.selectSingleNode("EMPTY").text(), "   ");
  EXPECT_EQ(lib.selectSingleNode("MIXED").text(), "one two three");
  EXPECT_EQ(lib.selectSingleNode("MIXED/C").childNodes().size(), 1u);  // indentation too
  EXPECT_EQ(lib.selectSingleNode("NOTES").childNodes().size(), 3u);
  EXPECT_EQ(doc.firstChild().nextSibling().nodeType(), NodeType::Comment);
  EXPECT_EQ(doc.lastChild().nodeName(), "after");
  EXPECT_EQ(doc.lastChild().nodeValue(), "end");

  std::string saved = doc.saveToString();
  EXPECT_EQ(saved,
            "<?xml version=\"1.0\"?>\r\n"
            "<!-- top -->\r\n"
            "<LIB>\r\n"
            "  <ITEM> spaced </ITEM>\r\n"
            "  <EMPTY>   </EMPTY>\r\n"
            "  <MIXED>one <B>two</B> three<C><D/></C></MIXED>\r\n"
            "  <NOTES>  <!-- only a comment -->  </NOTES>\r\n"
            "  <?tool run?>\r\n"
            "  <NEST>\r\n"
            "    <A>\r\n"
            "      <B/>\r\n"
            "    </A>\r\n"
            "  </NEST>\r\n"
            "</LIB>\r\n"
            "<?after end?>\r\n");
  EXPECT_EQ(Loaded(saved).saveToString(), saved);

  // A saved file on disk gives the same bytes after a load and a save.
  std::string path = test::WriteFile("stable.xml", saved);
  Document fromFile = Document::create();
  ASSERT_TRUE(fromFile.load(path));
  fromFile.save(path);
  EXPECT_EQ(test::ReadFile(path), saved);
}

TEST(XmlDocument, SampleLibraryFileSavesToTheSameBytes) {
  std::string source = test::DataPath("xml/library_cp1252.xml");
  Document doc = Document::create();
  ASSERT_TRUE(doc.load(source)) << doc.parseError().reason;
  Node inst = doc.documentElement().selectSingleNode("INSTRUMENT");
  EXPECT_EQ(inst.selectSingleNode("DESCRIPTION").text(),
            "Thermistor probe, \xE2\x88\x92"
            "40 \xE2\x80\xA6 +70 \xC2\xB0"
            "C; r\xC3\xA9ponse 150 "
            "\xC2\xB5s \xE2\x80\x93 \xE2\x80\x9Cshielded\xE2\x80\x9D");
  EXPECT_EQ(inst.selectSingleNode("INPCODE").text(),
            ".if pass==INIT_PASS\\n  AIN ch0 & ch1\\n  IF x < 3 THEN y=1\\n.endif");
  EXPECT_EQ(inst.selectSingleNode("SETUP").getAttribute("RANGE"),
            "\xC2\xB1"
            "2.5 V");
  EXPECT_EQ(inst.selectSingleNode("CHANNELS/CHANNEL/NOTE").text(), "Mixed bold text, kept inline");
  std::string copy = test::TempDir() + "/library_copy.xml";
  doc.save(copy);
  EXPECT_EQ(test::ReadFile(copy), test::ReadFile(source));
}

TEST(XmlDocument, ParseErrorFieldsAndDocumentUnchanged) {
  Document doc = Loaded("<A><B>keep</B></A>");
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

  // The offending line is given in UTF-8 whatever the file's encoding.
  EXPECT_FALSE(doc.loadXML("<?xml version=\"1.0\" encoding=\"windows-1252\"?>\r\n<A>\xE9 & </A>"));
  EXPECT_EQ(doc.parseError().line, 2);
  EXPECT_EQ(doc.parseError().srcText, "<A>\xC3\xA9 & </A>");
  EXPECT_TRUE(doc.parseError().url.empty());

  EXPECT_FALSE(doc.loadXML(""));
  EXPECT_EQ(doc.parseError().errorCode, 3);  // no element found
  EXPECT_EQ(doc.parseError().line, 1);

  EXPECT_FALSE(doc.loadXML("<A/><B/>"));
  EXPECT_EQ(doc.parseError().errorCode, 9);  // junk after document element
  EXPECT_EQ(doc.parseError().linepos, 5);

  EXPECT_FALSE(doc.load(test::TempDir()));  // a folder
  EXPECT_EQ(doc.parseError().errorCode, err::kPathFileAccess);
  EXPECT_FALSE(doc.load(test::TempDir() + "/missing.xml"));
  EXPECT_EQ(doc.parseError().errorCode, err::kFileNotFound);
  EXPECT_NE(doc.parseError().reason.find("missing.xml"), std::string::npos);
  EXPECT_EQ(doc.documentElement().xml(), "<A><B>keep</B></A>");

  // A successful load clears the error.
  EXPECT_TRUE(doc.loadXML("<NEW/>"));
  EXPECT_EQ(doc.parseError().errorCode, 0);
  EXPECT_EQ(doc.documentElement().nodeName(), "NEW");
}

TEST(XmlDocument, LargeDocumentsLoadAndReportErrorsExactly) {
  // Megabytes of items inside elements opened long before their end tags; the group opens on
  // a later page than the root.
  const int items = 120000;
  std::string head = "<?xml version=\"1.0\" encoding=\"windows-1252\"?>\r\n<LIB>\r\n  <!--" +
                     std::string(8000, '.') + "-->\r\n  <GROUP NAME=\"caf\xE9\">\r\n";
  std::string body;
  for (int i = 0; i < items; ++i) body += "    <ITEM>\x80 " + std::to_string(i) + "</ITEM>\r\n";
  const std::string tail = "  </GROUP>\r\n</LIB>\r\n";
  std::string path = test::WriteFile("large.xml", head + body + tail);
  Document doc = Document::create();
  ASSERT_TRUE(doc.load(path)) << doc.parseError().reason;
  Node group = doc.documentElement().selectSingleNode("GROUP");
  EXPECT_EQ(group.getAttribute("NAME"), "caf\xC3\xA9");
  EXPECT_EQ(group.childNodes().size(), static_cast<size_t>(items));
  EXPECT_EQ(group.lastChild().text(), "\xE2\x82\xAC 119999");
  EXPECT_EQ(
      Loaded(head + body + tail).documentElement().selectSingleNode("GROUP").childNodes().size(),
      static_cast<size_t>(items));

  // An error at the end gives its line, position and text, from a file and from text.
  body.replace(body.rfind("</ITEM>"), 7, "</ITEX>");
  path = test::WriteFile("large_broken.xml", head + body + tail);
  for (bool fromFile : {true, false}) {
    SCOPED_TRACE(fromFile ? "file" : "text");
    EXPECT_FALSE(fromFile ? doc.load(path) : doc.loadXML(head + body + tail));
    EXPECT_EQ(doc.parseError().errorCode, 7);  // mismatched tag
    EXPECT_EQ(doc.parseError().line, items + 4);
    EXPECT_EQ(doc.parseError().linepos, 21);
    EXPECT_EQ(doc.parseError().srcText, "    <ITEM>\xE2\x82\xAC 119999</ITEX>");
    EXPECT_EQ(doc.documentElement().selectSingleNode("GROUP").childNodes().size(),
              static_cast<size_t>(items));
  }
}

TEST(XmlDocument, PipesLoadWithCharactersSplitBetweenReads) {
  auto viaPipe = [](const std::string& name, const std::string& bytes) {
    std::string path = test::TempDir() + "/" + name;
    EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
    std::thread writer([&] { std::ofstream(path, std::ios::binary) << bytes; });
    Document doc = Document::create();
    EXPECT_TRUE(doc.load(path)) << doc.parseError().reason << " " << doc.parseError().line << ":"
                                << doc.parseError().linepos;
    writer.join();
    return doc;
  };
  // UTF-8: characters of two, three and four bytes cut at each place across read boundaries.
  const std::pair<std::string, size_t> cut[] = {
      {"\xC3\xA9", 1}, {"\xE2\x82\xAC", 2}, {"\xF0\x9F\x98\x80", 1}, {"\xF0\x9F\x98\x80", 3}};
  std::string utf8 = "<?xml version=\"1.0\" encoding=\"UTF-8\"?><R>";
  std::vector<std::string> texts;
  for (size_t k = 0; k < std::size(cut); ++k) {
    utf8 += "<T>";
    texts.push_back(std::string((k + 1) * kParseChunk - cut[k].second - utf8.size(), 'x') +
                    cut[k].first);
    utf8 += texts.back() + "</T>";
  }
  Document doc = viaPipe("utf8.xml", utf8 + "</R>");
  ASSERT_EQ(doc.documentElement().childNodes().size(), std::size(cut));
  for (size_t k = 0; k < std::size(cut); ++k) {
    EXPECT_TRUE(doc.documentElement().childNodes()[k].text() == texts[k]) << k;
  }

  // UTF-16 with a surrogate pair cut in two; windows-1252 converted a read at a time.
  std::string wide = "\xFF\xFE";
  for (char c : std::string("<R>") + std::string(kParseChunk / 2 - 5, 'x')) wide += {c, '\0'};
  wide += std::string("\x3D\xD8\x00\xDE", 4);  // U+1F600
  for (char c : std::string("</R>")) wide += {c, '\0'};
  EXPECT_TRUE(viaPipe("utf16.xml", wide).documentElement().text() ==
              std::string(kParseChunk / 2 - 5, 'x') + "\xF0\x9F\x98\x80");
  std::string cp1252 = "<?xml version=\"1.0\" encoding=\"windows-1252\"?><R>";
  std::string run(kParseChunk - 1 - cp1252.size(), 'x');
  EXPECT_TRUE(viaPipe("cp1252.xml", cp1252 + run + "\x80\x80</R>").documentElement().text() ==
              run + "\xE2\x82\xAC\xE2\x82\xAC");
}

TEST(XmlDocument, FailedSaveLeavesTheOldFileAndRaises) {
  namespace fs = std::filesystem;
  std::string folder = test::TempDir() + "/save";
  std::string path = test::WriteFile(folder + "/old.xml", "old content");
  Document doc = NewLibraryDocument();
  doc.appendChild(doc.createElement("R")).text(std::string(4096, 'x'));

  // A file size limit makes the write fail half way, as a full disk would.
  struct rlimit old;
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old), 0);
  auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
  struct rlimit small = old;
  small.rlim_cur = 100;
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  int number = 0;
  std::string description;
  try {
    doc.save(path);
  } catch (const Error& e) {
    number = e.number();
    description = e.description();
  }
  setrlimit(RLIMIT_FSIZE, &old);
  std::signal(SIGXFSZ, oldHandler);
  EXPECT_EQ(number, err::kPathFileAccess);
  EXPECT_NE(description.find(path), std::string::npos);
  EXPECT_NE(description.find("too large"), std::string::npos);  // the system's reason
  EXPECT_EQ(test::ReadFile(path), "old content");
  EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 1);

  // A folder that does not exist.
  try {
    doc.save(folder + "/no/such/folder/new.xml");
    ADD_FAILURE() << "no error raised";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), err::kPathFileAccess);
    EXPECT_NE(e.description().find("no/such/folder/new.xml"), std::string::npos);
  }

  doc.save(path);
  EXPECT_EQ(test::ReadFile(path), doc.saveToString());
  EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 1);
}

}  // namespace
}  // namespace corvale::xml

// Loads that read their input once: error reports from what was read, pipes and devices under
// a size limit, input handed back during a large parse; pool memory and the child index.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <csignal>
#include <cstdint>
#include <fstream>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "corvale/core/error.h"
#include "corvale/xml/internal/encoding.h"
#include "corvale/xml/internal/node.h"
#include "corvale/xml/internal/parser.h"
#include "corvale/xml/xml.h"
#include "tests/support/test_support.h"

namespace corvale::xml {
namespace {

std::string ErrorText(const Document& doc) {
  const ParseError& e = doc.parseError();
  return std::to_string(e.errorCode) + " " + e.reason + " @" + std::to_string(e.line) + ":" +
         std::to_string(e.linepos) + " [" + e.srcText + "]";
}

// A document of many lines in the given line break, with "caf\xE9", the characters `extra`
// and the line's number on every line, and a fault on line `faultLine` (none for 0).
std::string ManyLines(std::string_view encodingName, std::string_view eol, int lines, int faultLine,
                      std::string_view fault, std::string_view extra = "\xE2\x82\xAC") {
  std::string out = "<?xml version=\"1.0\" encoding=\"" + std::string(encodingName) + "\"?>";
  out += eol;
  out += "<ROOT>";
  out += eol;
  for (int i = 3; i < lines; ++i) {
    out += "  <ITEM N=\"" + std::to_string(i) + "\">caf\xC3\xA9 " + std::string(extra) + " " +
           std::to_string(i) + (i == faultLine ? std::string(fault) : "") + "</ITEM>";
    out += eol;
  }
  return out + "</ROOT>" + std::string(eol);
}

// utf8 in the named encoding (the text above holds only characters all of them have).
std::string Encoded(const std::string& utf8, std::string_view name) {
  if (name == "UTF-16LE") return Utf8ToUtf16(utf8, false, true);
  if (name == "UTF-16BE") return Utf8ToUtf16(utf8, true, true);
  if (name == "UTF-8") return utf8;
  const SingleByteCodec* codec = FindSingleByteCodec(name);
  if (!codec) ADD_FAILURE() << name;
  std::string out;
  for (size_t i = 0; i < utf8.size();) out += static_cast<char>(codec->Encode(DecodeUtf8(utf8, i)));
  return out;
}

TEST(XmlLoad, InputHandedBackDuringTheParseKeepsErrorsAndResultsExact) {
  struct Fault {
    int line;
    std::string_view text;
  };
  // Mismatched tag, bad character, bad entity, duplicate attribute-like junk, a missing end.
  const Fault faults[] = {{0, ""},          {7, "</X>"}, {120, "&"},   {121, "&bogus;"},
                          {199, "<A B=1>"}, {200, "<"},  {250, "<Z>"}, {3, "\x01"}};
  const size_t releasedBefore = ReleasedInputBytes();
  // ISO-8859-1 is read by expat itself, windows-1252 and ISO-8859-15 are converted on the way in;
  // UTF-16 has a character of two units (a surrogate pair) on every line.
  for (std::string_view encoding :
       {"UTF-8", "UTF-16LE", "UTF-16BE", "windows-1252", "ISO-8859-15", "ISO-8859-1"}) {
    const bool wide = encoding == "UTF-16LE" || encoding == "UTF-16BE";
    const std::string_view extra =
        wide || encoding == "UTF-8" ? "\xE2\x82\xAC\xF0\x9F\x98\x80" : "\xC2\xB1";
    for (std::string_view eol : {"\n", "\r\n", "\r"}) {
      for (const Fault& fault : faults) {
        std::string input =
            ManyLines(wide ? "UTF-16" : encoding, eol, 260, fault.line, fault.text, extra);
        input = Encoded(input, encoding);
        SCOPED_TRACE(std::string(encoding) + " eol " + std::to_string(eol.size()) + " fault " +
                     std::to_string(fault.line));
        std::string results[2];
        for (size_t granularity : {SIZE_MAX, size_t{64}}) {
          SetInputReleaseForTesting(granularity);
          Document doc = Document::create();
          bool loaded = doc.loadXML(input);
          results[granularity == 64] = loaded ? doc.xml() : ErrorText(doc);
          EXPECT_EQ(loaded, fault.line == 0) << ErrorText(doc);
        }
        EXPECT_EQ(results[0], results[1]);
      }
    }
  }
  SetInputReleaseForTesting(0);
  // The comparison above is only worth something when input was indeed handed back.
  EXPECT_GT(ReleasedInputBytes() - releasedBefore, size_t{100000});

  // The line and text of an error in a windows-1252 file come from the single read.
  std::string bytes =
      Encoded(ManyLines("windows-1252", "\r\n", 3000, 2990, "</Q>"), "windows-1252");
  SetInputReleaseForTesting(256);
  Document doc = Document::create();
  EXPECT_FALSE(doc.load(test::WriteFile("late_fault.xml", bytes)));
  SetInputReleaseForTesting(0);
  EXPECT_EQ(doc.parseError().line, 2990);
  EXPECT_EQ(doc.parseError().linepos, 31);  // the name in "</Q>"
  EXPECT_EQ(doc.parseError().srcText,
            "  <ITEM N=\"2990\">caf\xC3\xA9 \xE2\x82\xAC 2990</Q></ITEM>");
}

// Writes bytes into a new FIFO from a thread; the reader may stop early.
class PipeWriter {
 public:
  PipeWriter(const std::string& name, std::string bytes) : path_(test::TempDir() + "/" + name) {
    EXPECT_EQ(mkfifo(path_.c_str(), 0600), 0);
    std::signal(SIGPIPE, SIG_IGN);
    thread_ = std::thread([this, bytes = std::move(bytes)] {
      std::ofstream out(path_, std::ios::binary);
      for (size_t at = 0; at < bytes.size() && out; at += 65536) {
        out.write(bytes.data() + at,
                  static_cast<std::streamsize>(std::min<size_t>(65536, bytes.size() - at)));
      }
    });
  }
  ~PipeWriter() { thread_.join(); }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
  std::thread thread_;
};

TEST(XmlLoad, PipesAndDevicesAreReadOnceWithALimit) {
  // An error in the middle of a pipe's 3 MB: line and text without reading it again.
  std::string broken = ManyLines("UTF-8", "\n", 90000, 60000, "</NOPE>");
  {
    PipeWriter pipe("pipe_broken.xml", broken);
    Document doc = Document::create();
    EXPECT_FALSE(doc.load(pipe.path()));
    EXPECT_EQ(doc.parseError().errorCode, 7) << ErrorText(doc);
    EXPECT_EQ(doc.parseError().line, 60000);
    EXPECT_EQ(doc.parseError().srcText,
              "  <ITEM N=\"60000\">caf\xC3\xA9 \xE2\x82\xAC 60000</NOPE></ITEM>");
  }
  // A pipe that gives more than the limit stops with error 75 and keeps the document.
  SetStreamLimitForTesting(size_t{1} << 20);
  {
    PipeWriter pipe("pipe_endless.xml", ManyLines("UTF-8", "\n", 90000, 0, ""));
    Document doc = Document::create();
    ASSERT_TRUE(doc.loadXML("<KEEP/>"));
    EXPECT_FALSE(doc.load(pipe.path()));
    EXPECT_EQ(doc.parseError().errorCode, err::kPathFileAccess);
    EXPECT_TRUE(test::Contains(doc.parseError().reason, "1048576 bytes")) << ErrorText(doc);
    EXPECT_EQ(doc.documentElement().nodeName(), "KEEP");
  }
  SetStreamLimitForTesting(0);
  // A device that never ends: the first bytes already fail, and the load stops there.
  Document doc = Document::create();
  EXPECT_FALSE(doc.load("/dev/zero"));
  EXPECT_NE(doc.parseError().errorCode, 0);
  EXPECT_EQ(doc.parseError().line, 1);
}

TEST(XmlLoad, PoolMemoryGoesBackWhenTheLastDocumentIsReleased) {
  ASSERT_EQ(GetPoolStats().liveBlocks, 0u) << "another test keeps nodes alive";
  Node kept;
  {
    Document doc = Document::create();
    ASSERT_TRUE(doc.loadXML(ManyLines("UTF-8", "\n", 20000, 0, "")));
    EXPECT_GT(GetPoolStats().liveBlocks, 20000u);
    kept = doc.documentElement().lastChild().previousSibling();
  }
  // A handle to one node keeps its document, and so the pools.
  EXPECT_GT(GetPoolStats().liveBlocks, 0u);
  EXPECT_EQ(kept.nodeName(), "ITEM");
  kept = Node();
  EXPECT_EQ(GetPoolStats().liveBlocks, 0u);
  EXPECT_EQ(GetPoolStats().slabBytes, 0u);
  // And the pools fill again on the next use.
  Document again = Document::create();
  ASSERT_TRUE(again.loadXML("<A><B>text</B></A>"));
  EXPECT_EQ(again.documentElement().text(), "text");
}

// The first child element of that name, by walking.
Node FirstNamed(const Node& parent, std::string_view name) {
  for (Node c = parent.firstChild(); c; c = c.nextSibling()) {
    if (c.nodeType() == NodeType::Element && c.nodeName() == name) return c;
  }
  return {};
}

TEST(XmlLoad, LookUpsByNameStayExactUnderEveryChange) {
  Document doc = Document::create();
  Node parent = doc.appendChild(doc.createElement("P"));
  const char* names[] = {"A", "B", "C", "D"};
  std::mt19937 random(7);
  std::vector<Node> children;
  for (int i = 0; i < 200; ++i) {
    children.push_back(parent.appendChild(doc.createElement(names[random() % 4])));
  }
  Document other = Document::create();
  Node elsewhere = other.appendChild(other.createElement("O"));
  for (int step = 0; step < 3000; ++step) {
    Node child = children[random() % children.size()];
    switch (random() % 6) {
      case 0:
        if (child.parentNode() == parent) parent.removeChild(child);
        break;
      case 1: {
        Node ref = children[random() % children.size()];
        parent.insertBefore(child, ref.parentNode() == parent ? ref : Node());
        break;
      }
      case 2:
        parent.appendChild(child);
        break;
      case 3:
        elsewhere.appendChild(child);  // into another document
        break;
      case 4:
        if (child.parentNode() == parent) parent.replaceChild(doc.createElement("D"), child);
        break;
      default:
        parent.insertBefore(doc.createTextNode("t"), parent.firstChild());
        break;
    }
    const char* name = names[random() % 4];
    ASSERT_EQ(parent.selectSingleNode(name), FirstNamed(parent, name)) << step;
    if (step % 100 == 0) {
      std::vector<Node> walked;
      for (Node c = parent.firstChild(); c; c = c.nextSibling()) {
        if (c.nodeName() == name) walked.push_back(c);
      }
      ASSERT_EQ(parent.selectNodes(name), walked) << step;
    }
  }
  parent.text("");
  EXPECT_TRUE(parent.selectSingleNode("A").isNull());
  parent.appendChild(doc.createElement("A"));
  EXPECT_FALSE(parent.selectSingleNode("A").isNull());
}

}  // namespace
}  // namespace corvale::xml

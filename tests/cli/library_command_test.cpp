// Runs the built corvale program's library and merge commands.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "corvale/libraries/xml_instruments.h"
#include "tests/support/test_support.h"

namespace {

using corvale::test::ReadFile;
using corvale::test::TempDir;
using corvale::test::WriteFile;

struct Outcome {
  int status = -1;
  std::string out, err;
};

// Arguments are passed through the shell, each quoted; standard input is no terminal.
Outcome Corvale(const std::vector<std::string>& args) {
  const std::string out = TempDir() + "/library.out", err = TempDir() + "/library.err";
  std::string command =
      "XDG_CONFIG_HOME='" + TempDir() + "/config' '" + std::string(CORVALE_CLI_PATH) + "'";
  for (const std::string& arg : args) command += " '" + arg + "'";
  command += " </dev/null >'" + out + "' 2>'" + err + "'";
  const int raw = std::system(command.c_str());
  Outcome run;
  run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  run.out = ReadFile(out);
  run.err = ReadFile(err);
  return run;
}

bool Has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

constexpr const char* kLibrary = R"(<?xml version = "1.0" encoding="windows-1252"?>
<PennardInstrumentLibrary NAME="Harbour">
  <NAME>Harbour</NAME>
  <PROVIDER>Quay Instruments</PROVIDER>
  <VERSION>1.5</VERSION>
  <INSTRUMENT NAME="Air temperature"><CATCODE>TMP</CATCODE><NAME>Air temperature</NAME><VERSION>1</VERSION></INSTRUMENT>
  <INSTRUMENT NAME="Tank level"><CATCODE>LVL</CATCODE><NAME>Tank level</NAME><VERSION>2</VERSION></INSTRUMENT>
</PennardInstrumentLibrary>
)";

constexpr const char* kMerge = R"(<?xml version="1.0"?>
<MERGEINSTRUMENTS>
  <NAME>Tide pack</NAME><DESCRIPTION>Tide sensors</DESCRIPTION><VERSION>2</VERSION>
  <TARGET>Quay.TideLibrary</TARGET><PROVIDER>Quay Instruments</PROVIDER>
  <LICENSETEXT>Free for harbour use</LICENSETEXT>
  <INSTRUMENT><CATCODE>TIDE</CATCODE><NAME>Tide gauge</NAME><VERSION>1</VERSION></INSTRUMENT>
  <INSTRUMENT><CATCODE>TMP</CATCODE><NAME>Air temperature</NAME><VERSION>1.5</VERSION></INSTRUMENT>
  <INSTRUMENT><CATCODE>LVL</CATCODE><NAME>Tank level</NAME><VERSION>1</VERSION></INSTRUMENT>
</MERGEINSTRUMENTS>
)";

TEST(LibraryCommand, ListsALibraryAndShowsOneInstrument) {
  const std::string path = WriteFile("cli-lib/harbour.xml", kLibrary);
  Outcome list = Corvale({"library", path});
  EXPECT_EQ(list.status, 0) << list.err;
  EXPECT_EQ(list.out.rfind("Library: Harbour\nProvider: Quay Instruments\nVersion: 1.5\n", 0), 0u)
      << list.out;
  EXPECT_TRUE(Has(list.out, "Instruments: 2\n"));
  EXPECT_LT(list.out.find("TMP"), list.out.find("LVL"));
  EXPECT_TRUE(Has(list.out, "Tank level"));

  Outcome show = Corvale({"library", path, "lvl"});
  EXPECT_EQ(show.status, 0) << show.err;
  EXPECT_TRUE(Has(show.out, "Tank level"));
  EXPECT_FALSE(Has(show.out, "Air temperature"));

  Outcome unknown = Corvale({"library", path, "NOPE"});
  EXPECT_EQ(unknown.status, 1);
  EXPECT_TRUE(Has(unknown.err, "no instrument with the catalogue code \"NOPE\"")) << unknown.err;
  EXPECT_EQ(Corvale({"library"}).status, 2);
  EXPECT_EQ(Corvale({"library", path, "A", "B"}).status, 2);
}

TEST(LibraryCommand, BadLibrariesGetClearMessages) {
  const std::string broken =
      WriteFile("cli-lib/broken.xml",
                "<PennardInstrumentLibrary>\n<INSTRUMENT>\n</PennardInstrumentLibrary>\n");
  Outcome parse = Corvale({"library", broken});
  EXPECT_EQ(parse.status, 1);
  EXPECT_EQ(parse.err.rfind(broken + ":3:", 0), 0u) << parse.err;

  const std::string root = WriteFile("cli-lib/loggers.xml", "<LOGGERS/>");
  Outcome wrongRoot = Corvale({"library", root});
  EXPECT_EQ(wrongRoot.status, 1);
  EXPECT_TRUE(Has(wrongRoot.err, "root element is <LOGGERS>, not <PennardInstrumentLibrary>"))
      << wrongRoot.err;

  const std::string odd =
      WriteFile("cli-lib/odd.xml",
                "<PennardInstrumentLibrary><INSTRUMENT><CATCODE>A</CATCODE></INSTRUMENT>"
                "<INSTRUMENT><CATCODE>B</CATCODE><BASECLASS>Nowhere.Class</BASECLASS></INSTRUMENT>"
                "<INSTRUMENT><CATCODE>a</CATCODE></INSTRUMENT></PennardInstrumentLibrary>");
  Outcome bad = Corvale({"library", odd});
  EXPECT_EQ(bad.status, 1);
  EXPECT_TRUE(Has(bad.err, "instruments 1 3 share the catalogue code \"A\"")) << bad.err;
  EXPECT_TRUE(Has(bad.err, "instrument 2: error 429")) << bad.err;
  EXPECT_TRUE(Has(bad.out, "Instruments: 3")) << bad.out;

  Outcome missing = Corvale({"library", TempDir() + "/cli-lib/none.xml"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_FALSE(missing.err.empty());
}

TEST(LibraryCommand, RegisterKeepsTheStartupListInOrder) {
  EXPECT_EQ(Corvale({"library", "startup", "Harbour", "Libraries"}).out, "");
  EXPECT_EQ(Corvale({"library", "register", "Harbour", "Libraries", "/srv/a.xml"}).status, 0);
  EXPECT_EQ(Corvale({"library", "register", "Harbour", "Libraries", "Quay.TideLibrary"}).status, 0);
  Outcome again = Corvale({"library", "register", "Harbour", "Libraries", "/SRV/A.XML"});
  EXPECT_EQ(again.out, "/srv/a.xml\nQuay.TideLibrary\n");
  Outcome plain = Corvale({"library", "register", "Harbour", "Libraries", "plain"});
  EXPECT_EQ(plain.status, 1);
  EXPECT_TRUE(Has(plain.err, "has no \".\""));
  EXPECT_EQ(Corvale({"library", "startup", "Harbour", "Libraries"}).out,
            "/srv/a.xml\nQuay.TideLibrary\n");
  EXPECT_EQ(Corvale({"library", "startup", "Harbour", "Other"}).out, "");
  EXPECT_EQ(Corvale({"library", "register", "Harbour"}).status, 2);
}

TEST(MergeCommand, MergesWithYesAndRefusesWithoutATerminal) {
  const std::string target = WriteFile("cli-merge/harbour.xml", kLibrary);
  const std::string merge = WriteFile("cli-merge/tide.xml", kMerge);

  Outcome refused = Corvale({"merge", merge, "--target-file", target});
  EXPECT_EQ(refused.status, 1);
  EXPECT_TRUE(Has(refused.err, "Merge Instrument Extension")) << refused.err;
  EXPECT_TRUE(Has(refused.err, "cancelled")) << refused.err;
  EXPECT_EQ(ReadFile(target), kLibrary);

  Outcome merged = Corvale({"merge", merge, "--target-file", target, "--yes"});
  EXPECT_EQ(merged.status, 0) << merged.err;
  EXPECT_TRUE(Has(merged.out, "added TIDE \"Tide gauge\" version 1\n")) << merged.out;
  EXPECT_TRUE(Has(merged.out, "replaced TMP \"Air temperature\" version 1 -> 1.5\n")) << merged.out;
  EXPECT_FALSE(Has(merged.out, "LVL"));
  corvale::XMLInstruments library;
  ASSERT_TRUE(library.Load(target));
  ASSERT_EQ(library.Count(), 3);
  EXPECT_EQ(library.Item(1)->CatCode(), "LVL");
  EXPECT_EQ(library.Item(2)->CatCode(), "TIDE");
  EXPECT_FLOAT_EQ(library.Item(3)->Version(), 1.5f);

  Outcome nothing = Corvale({"merge", merge, "--target-file", target});
  EXPECT_EQ(nothing.status, 0) << nothing.err;
  EXPECT_TRUE(Has(nothing.out, "nothing to merge")) << nothing.out;

  EXPECT_EQ(Corvale({"merge", merge}).status, 2);
  Outcome notMerge = Corvale({"merge", target, "--target-file", target});
  EXPECT_EQ(notMerge.status, 1);
  EXPECT_TRUE(Has(notMerge.err, "not <MERGEINSTRUMENTS>")) << notMerge.err;
  Outcome badTarget = Corvale({"merge", merge, "--target-file", merge, "--yes"});
  EXPECT_EQ(badTarget.status, 1);
  EXPECT_TRUE(Has(badTarget.err, "not <PennardInstrumentLibrary>")) << badTarget.err;
}

}  // namespace

// Runs the built corvale program's library and merge commands.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/test_support.h"

namespace {

using corvale::test::CliRun;
using corvale::test::Contains;
using corvale::test::ReadFile;
using corvale::test::RunCli;
using corvale::test::TempDir;
using corvale::test::WriteFile;

constexpr const char* kLibrary = R"(<?xml version = "1.0" encoding="windows-1252"?>
<PennardInstrumentLibrary>
  <NAME>Harbour</NAME><PROVIDER>Quay Instruments</PROVIDER><VERSION>1.5</VERSION>
  <INSTRUMENT><CATCODE>TMP</CATCODE><NAME>Air temperature</NAME><VERSION>1</VERSION></INSTRUMENT>
  <INSTRUMENT><CATCODE>LVL</CATCODE><NAME>Tank level</NAME><VERSION>2</VERSION></INSTRUMENT>
</PennardInstrumentLibrary>
)";

TEST(LibraryCommand, ListsShowsAndReportsBadLibraries) {
  const std::string path = WriteFile("cli-lib/harbour.xml", kLibrary);
  CliRun list = RunCli({"library", path});
  EXPECT_EQ(list.status, 0) << list.err;
  EXPECT_EQ(list.out.rfind("Library: Harbour\nProvider: Quay Instruments\nVersion: 1.5\n", 0), 0u);
  EXPECT_LT(list.out.find("Instruments: 2\n"), list.out.find("TMP"));
  EXPECT_LT(list.out.find("TMP"), list.out.find("LVL"));

  CliRun show = RunCli({"library", path, "lvl"});
  EXPECT_EQ(show.status, 0) << show.err;
  EXPECT_TRUE(show.Says("Tank level") && !show.Says("Air temperature"));
  CliRun unknown = RunCli({"library", path, "NOPE"});
  EXPECT_EQ(unknown.status, 1);
  EXPECT_TRUE(unknown.Says("no instrument with the catalogue code \"NOPE\""));
  EXPECT_EQ(RunCli({"library", path, "A", "B"}).status, 2);

  const std::string broken = WriteFile("cli-lib/broken.xml", "<PennardInstrumentLibrary>\n<X>\n");
  EXPECT_EQ(RunCli({"library", broken}).err.rfind(broken + ":", 0), 0u);  // FILE:LINE:COLUMN
  CliRun root = RunCli({"library", WriteFile("cli-lib/loggers.xml", "<LOGGERS/>")});
  EXPECT_EQ(root.status, 1);
  EXPECT_TRUE(root.Says("root element is <LOGGERS>, not <PennardInstrumentLibrary>"));
  CliRun odd = RunCli(
      {"library", WriteFile("cli-lib/odd.xml",
                            "<PennardInstrumentLibrary><INSTRUMENT><CATCODE>A</CATCODE>"
                            "</INSTRUMENT><INSTRUMENT><CATCODE>B</CATCODE><BASECLASS>Nowhere.Class"
                            "</BASECLASS></INSTRUMENT><INSTRUMENT><CATCODE>a</CATCODE>"
                            "</INSTRUMENT></PennardInstrumentLibrary>")});
  EXPECT_EQ(odd.status, 1);
  EXPECT_TRUE(odd.Says("instruments 1 3 share the catalogue code \"A\"")) << odd.err;
  EXPECT_TRUE(odd.Says("odd.xml: instrument 2 (B): error 429")) << odd.err;
  EXPECT_TRUE(odd.Says("Instruments: 3"));
}

TEST(LibraryCommand, RegisterKeepsTheStartupListInOrder) {
  EXPECT_EQ(RunCli({"library", "startup", "Harbour", "Libraries"}).out, "");
  EXPECT_EQ(RunCli({"library", "register", "Harbour", "Libraries", "/srv/a.xml"}).status, 0);
  RunCli({"library", "register", "Harbour", "Libraries", "Quay.TideLibrary"});
  EXPECT_EQ(RunCli({"library", "register", "Harbour", "Libraries", "/SRV/A.XML"}).out,
            "/srv/a.xml\nQuay.TideLibrary\n");
  CliRun plain = RunCli({"library", "register", "Harbour", "Libraries", "plain"});
  EXPECT_EQ(plain.status, 1);
  EXPECT_TRUE(plain.Says("has no \".\""));
  EXPECT_EQ(RunCli({"library", "startup", "Harbour", "Libraries"}).out,
            "/srv/a.xml\nQuay.TideLibrary\n");
  EXPECT_EQ(RunCli({"library", "register", "Harbour"}).status, 2);
}

TEST(MergeCommand, MergesWithYesAndRefusesWithoutATerminal) {
  const std::string target = WriteFile("cli-merge/harbour.xml", kLibrary);
  const std::string merge = WriteFile("cli-merge/tide.xml", R"(<MERGEINSTRUMENTS>
  <NAME>Tide pack</NAME><VERSION>2</VERSION><TARGET>Quay.TideLibrary</TARGET>
  <INSTRUMENT><CATCODE>TIDE</CATCODE><NAME>Tide gauge</NAME></INSTRUMENT>
  <INSTRUMENT><CATCODE>TMP</CATCODE><NAME>Air temperature</NAME><VERSION>1.5</VERSION></INSTRUMENT>
  <INSTRUMENT><CATCODE>LVL</CATCODE><NAME>Tank level</NAME><VERSION>1</VERSION></INSTRUMENT>
</MERGEINSTRUMENTS>)");

  CliRun refused = RunCli({"merge", merge, "--target-file", target});
  EXPECT_EQ(refused.status, 1);
  EXPECT_TRUE(refused.Says("Merge Instrument Extension") && refused.Says("cancelled"));
  EXPECT_EQ(ReadFile(target), kLibrary);

  CliRun merged = RunCli({"merge", merge, "--target-file", target, "--yes"});
  EXPECT_EQ(merged.status, 0) << merged.err;
  EXPECT_TRUE(merged.Says("added TIDE \"Tide gauge\" version 1\n")) << merged.out;
  EXPECT_TRUE(merged.Says("replaced TMP \"Air temperature\" version 1 -> 1.5\n")) << merged.out;
  EXPECT_TRUE(Contains(ReadFile(target), "<CATCODE>TIDE</CATCODE>"));

  EXPECT_TRUE(RunCli({"merge", merge, "--target-file", target}).Says("nothing to merge"));
  EXPECT_EQ(RunCli({"merge", merge}).status, 2);
  EXPECT_TRUE(RunCli({"merge", target, "--target-file", target}).Says("not <MERGEINSTRUMENTS>"));
  EXPECT_TRUE(RunCli({"merge", merge, "--target-file", merge}).Says("not <PennardInstrument"));
}

}  // namespace

// Runs the built corvale program and checks what it prints and its exit status.
#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "tests/support/test_support.h"

namespace {

using corvale::test::CliRun;
using corvale::test::Contains;
using corvale::test::ReadFile;
using corvale::test::RunCli;
using corvale::test::TempDir;
using corvale::test::WriteFile;

TEST(CheckCommand, ReportsEachDocumentAndExitsByResult) {
  const std::string library =
      WriteFile("check/library.xml",
                "<?xml version = \"1.0\" encoding=\"windows-1252\"?>\r\n"
                "<PennardInstrumentLibrary>\r\n  <INSTRUMENT>\r\n    <NAME>Air temperature \xB0"
                "C</NAME>\r\n    <CHANNELS><CHANNEL/><CHANNEL/></CHANNELS>\r\n  </INSTRUMENT>\r\n"
                "  <!-- a comment is no element -->\r\n</PennardInstrumentLibrary>\r\n");
  const std::string loggers =
      WriteFile("check/loggers.xml", "<?xml version=\"1.0\"?>\n<LOGGERS><LOGGER/></LOGGERS>\n");

  CliRun ok = RunCli({"check", library, loggers});
  EXPECT_EQ(ok.status, 0) << ok.err;
  EXPECT_EQ(ok.out, library +
                        ": root PennardInstrumentLibrary, encoding windows-1252, 6 elements\n" +
                        loggers + ": root LOGGERS, encoding UTF-8, 2 elements\n");
  EXPECT_EQ(ok.err, "");

  // A broken document is reported where it breaks; the others are still checked.
  const std::string broken = WriteFile(
      "check/broken.xml", "<LOGGERS>\n  <LOGGER>\n    <NAME>CR800</LOGGER>\n</LOGGERS>\n");
  const std::string missing = TempDir() + "/check/missing.xml";
  CliRun bad = RunCli({"check", broken, loggers, missing});
  EXPECT_EQ(bad.status, 1);
  EXPECT_EQ(bad.out, loggers + ": root LOGGERS, encoding UTF-8, 2 elements\n");
  EXPECT_TRUE(std::regex_search(bad.err, std::regex("^" + broken + ":3:[0-9]+: .+\n"))) << bad.err;
  EXPECT_NE(bad.err.find(missing + ":"), std::string::npos) << bad.err;
  // Nothing was written to the documents.
  EXPECT_EQ(ReadFile(broken), "<LOGGERS>\n  <LOGGER>\n    <NAME>CR800</LOGGER>\n</LOGGERS>\n");

  // A deeply nested document is counted without trouble.
  std::string deep;
  for (int i = 0; i < 5000; ++i) deep += "<A>";
  for (int i = 0; i < 5000; ++i) deep += "</A>";
  const std::string nested = WriteFile("check/deep.xml", deep);
  CliRun counted = RunCli({"check", "--", nested});
  EXPECT_EQ(counted.status, 0) << counted.err;
  EXPECT_EQ(counted.out, nested + ": root A, encoding UTF-8, 5000 elements\n");
}

TEST(CheckCommand, UsageErrorsHelpAndVersion) {
  for (const std::vector<std::string>& args : {std::vector<std::string>{},
                                               {"check"},
                                               {"check", "--strict", "x.xml"},
                                               {"frobnicate"},
                                               {"--frobnicate"}}) {
    CliRun run = RunCli(args);
    EXPECT_EQ(run.status, 2) << (args.empty() ? "" : args.front());
    EXPECT_EQ(run.out, "");
    EXPECT_TRUE(Contains(run.err, "usage: corvale")) << run.err;
  }
  EXPECT_TRUE(RunCli({"frobnicate"}).Says("unknown command 'frobnicate'"));
  EXPECT_TRUE(RunCli({"check"}).Says("usage: corvale check FILE... [--json]"));

  CliRun help = RunCli({"--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_TRUE(std::regex_search(help.out, std::regex("\n  check FILE\\.\\.\\. \\[--json\\]\n      load ")));
  CliRun checkHelp = RunCli({"check", "--help"});
  EXPECT_EQ(checkHelp.status, 0);
  EXPECT_EQ(checkHelp.out.rfind("usage: corvale check FILE... [--json]\n", 0), 0u) << checkHelp.out;

  CliRun version = RunCli({"--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_TRUE(std::regex_match(version.out, std::regex("corvale [0-9]+\\.[0-9]+\\.[0-9]+\n")))
      << version.out;
}

}  // namespace

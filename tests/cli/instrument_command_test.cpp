// Runs `corvale instrument` on the sample library and on documents written here.
#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

#include "tests/support/test_support.h"

namespace {

using corvale::test::CliRun;
using corvale::test::Contains;
using corvale::test::ReadFile;
using corvale::test::TempDir;
using corvale::test::WriteFile;

// Runs `corvale instrument` with the arguments.
CliRun Corvale(std::vector<std::string> args) {
  args.insert(args.begin(), "instrument");
  return corvale::test::RunCli(args);
}

const std::string kSample = std::string(CORVALE_SOURCE_DIR) + "/examples/sample_library.xml";

TEST(InstrumentCommand, ListsEveryInstrumentOfTheSampleLibraryOnOneLine) {
  const std::string before = ReadFile(kSample);
  CliRun run = Corvale({kSample});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.out,
            "TMP100 \"Air temperature probe\" family=Meteorology version=1.1 "
            "base=Corvale2.clsStdInstrument channels=1 events=0 outputs=0\n"
            "PRS420 \"Pressure transducer 4-20 mA\" family=Hydrology version=2 "
            "base=Corvale2.clsStdInstrument channels=1 events=0 outputs=0\n"
            "RG200 \"Tipping-bucket rain gauge\" family=Meteorology version=1 "
            "base=Corvale2.clsStdInstrument channels=1 events=0 outputs=0\n"
            "RLY01 \"Alarm relay\" family=Control version=1.5 "
            "base=Corvale2.clsStdInstrument channels=1 events=1 outputs=1\n");
  EXPECT_EQ(ReadFile(kSample), before) << "listing never writes the document";
}

TEST(InstrumentCommand, PrintsOneInstrumentInFull) {
  const std::string before = ReadFile(kSample);
  CliRun relay = Corvale({kSample, "rly01"});
  ASSERT_EQ(relay.status, 0) << relay.err;
  const std::string& out = relay.out;
  EXPECT_TRUE(Contains(out, "Instrument RLY01\n")) << out;
  EXPECT_TRUE(Contains(out, "  Name:           Alarm relay\n")) << out;
  EXPECT_TRUE(Contains(out, "Channels (1)\n  1. CHAN_0 \"Watched level\"\n")) << out;
  EXPECT_TRUE(Contains(out, "channel type: Internal (6); data type: SP Floating point (7)")) << out;
  EXPECT_TRUE(Contains(out, "condition: Channel A > B (2); A: CHAN_0 (channel); B: 2.5 (constant)"))
      << out;
  EXPECT_TRUE(Contains(out, "Outputs (1)\n  1. OUT_0 \"Alarm relay contact\"\n")) << out;
  EXPECT_TRUE(Contains(out, "when true:\n         DIGITAL_OUT {OUT_0}, CLOSED\n")) << out;
  EXPECT_TRUE(Contains(out, "Resource requests (0)\n")) << out;
  // Program text is printed unescaped, a line of the logger program per line.
  EXPECT_TRUE(Contains(out,
                       "Program text:\n  .if pass==INIT_PASS\n  \tDIGITAL_OUT_INIT {OUT_0}, OPEN\n"
                       "  .endif\n"))
      << out;

  CliRun probe = Corvale({kSample, "TMP100"});
  ASSERT_EQ(probe.status, 0) << probe.err;
  EXPECT_TRUE(Contains(probe.out,
                       "units: \xC2\xB0"
                       "C"))
      << "windows-1252 text comes out as UTF-8";
  EXPECT_TRUE(Contains(probe.out, "CDT settings (1)\n  1. CDT_0\n")) << probe.out;
  EXPECT_TRUE(Contains(probe.out, "resource: EXCITATION; lock: None (0)")) << probe.out;

  CliRun transducer = Corvale({kSample, "PRS420"});
  EXPECT_TRUE(Contains(transducer.out, "Buddies (1)\n  1. examples/sample_library.xml|TMP100\n"))
      << transducer.out;
  EXPECT_TRUE(Contains(transducer.out, "Files (1)\n  1. LIB\\PRS420.INC\n")) << transducer.out;
  EXPECT_TRUE(Contains(transducer.out, "date: 2023-01-01 12:00:00")) << transducer.out;
  EXPECT_TRUE(Contains(transducer.out, "lock: Exclusive Lock (1)")) << transducer.out;

  EXPECT_EQ(ReadFile(kSample), before) << "printing materialises defaults in memory only";
}

TEST(InstrumentCommand, FindsInstrumentsAnywhereButNotBuddyReferences) {
  const std::string scheme = WriteFile(
      "instrument/scheme.xml",
      "<SCHEME><LOGGER>L1</LOGGER><INSTRUMENTS>"
      "<INSTRUMENT><CATCODE>A</CATCODE><NAME>First</NAME><BASECLASS>Host.Gauge</BASECLASS>"
      "<BUDDIES><INSTRUMENT>lib.xml|B</INSTRUMENT></BUDDIES></INSTRUMENT>"
      "<GROUP><INSTRUMENT><CATCODE>B</CATCODE><INPCODE>A\\\\B\\nC</INPCODE></INSTRUMENT>"
      "</GROUP></INSTRUMENTS></SCHEME>");
  CliRun list = Corvale({scheme});
  EXPECT_EQ(list.status, 0) << list.err;
  EXPECT_EQ(list.out,
            "A \"First\" family= version=1 base=Host.Gauge channels=0 events=0 outputs=0\n"
            "B \"\" family= version=1 base=Corvale2.clsStdInstrument channels=0 events=0 "
            "outputs=0\n");

  CliRun full = Corvale({scheme, "B"});
  EXPECT_TRUE(Contains(full.out, "Program text:\n  A\\B\n  C\n")) << full.out;

  const std::string empty = WriteFile("instrument/empty.xml", "<LOGGERS/>");
  CliRun none = Corvale({empty});
  EXPECT_EQ(none.status, 0);
  EXPECT_EQ(none.out, "");
  EXPECT_TRUE(Contains(none.err, "no instruments")) << none.err;
}

TEST(InstrumentCommand, ReportsErrorsWithTheirExitStatus) {
  CliRun unknown = Corvale({kSample, "NOPE"});
  EXPECT_EQ(unknown.status, 1);
  EXPECT_EQ(unknown.out, "");
  EXPECT_TRUE(Contains(unknown.err, "no instrument with the catalogue code \"NOPE\""))
      << unknown.err;

  const std::string broken = WriteFile("instrument/broken.xml",
                                       "<PennardInstrumentLibrary>\n  <INSTRUMENT>\n"
                                       "    <NAME>x</CATCODE>\n</PennardInstrumentLibrary>\n");
  CliRun bad = Corvale({broken});
  EXPECT_EQ(bad.status, 1);
  EXPECT_TRUE(std::regex_search(bad.err, std::regex("^" + broken + ":3:[0-9]+: .+\n"))) << bad.err;

  CliRun missing = Corvale({TempDir() + "/instrument/none.xml"});
  EXPECT_EQ(missing.status, 1);

  EXPECT_EQ(Corvale({}).status, 2);
  EXPECT_EQ(Corvale({kSample, "A", "B"}).status, 2);
  EXPECT_EQ(Corvale({"--verbose", kSample}).status, 2);

  // A number a 16-bit property cannot hold is a model error, not a crash.
  const std::string wide = WriteFile(
      "instrument/wide.xml",
      "<L><INSTRUMENT><CATCODE>W</CATCODE><CHANNELS><CHANNEL><NUMBERBYTES>70000</NUMBERBYTES>"
      "</CHANNEL></CHANNELS></INSTRUMENT></L>");
  CliRun overflow = Corvale({wide, "W"});
  EXPECT_EQ(overflow.status, 1);
  EXPECT_TRUE(Contains(overflow.err, "error 6: Overflow")) << overflow.err;
}

}  // namespace

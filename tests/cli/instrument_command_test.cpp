// Runs `corvale instrument` on the sample library and on documents written here.
#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

#include "tests/support/test_support.h"

namespace {

using corvale::test::CliRun;
using corvale::test::Contains;
using corvale::test::Missing;
using corvale::test::ReadFile;
using corvale::test::TempDir;
using corvale::test::WriteFile;

// Runs `corvale instrument` with the arguments.
CliRun Corvale(std::vector<std::string> args) {
  args.insert(args.begin(), "instrument");
  return corvale::test::RunCli(args);
}

const std::vector<std::string> None;
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
            "base=Corvale2.clsStdInstrument channels=1 events=1 outputs=1\n"
            "SM300 \"Soil moisture probe\" family=Agriculture version=1 "
            "base=Corvale2.clsStdInstrument channels=2 events=1 outputs=0\n"
            "GPS10 \"GPS receiver\" family=Communication version=1 "
            "base=Corvale2.clsStdInstrument channels=0 events=0 outputs=1\n"
            "MDM20 \"Cellular modem\" family=Communication version=1 "
            "base=Corvale2.clsStdInstrument channels=0 events=0 outputs=0\n");
  EXPECT_EQ(ReadFile(kSample), before) << "listing never writes the document";
}

TEST(InstrumentCommand, PrintsOneInstrumentInFull) {
  const std::string before = ReadFile(kSample);
  CliRun relay = Corvale({kSample, "rly01"});
  ASSERT_EQ(relay.status, 0) << relay.err;
  EXPECT_EQ(
      Missing(relay.out,
              {"Instrument RLY01\n", "  Name:           Alarm relay\n",
               "Channels (1)\n  1. CHAN_0 \"Watched level\"\n",
               "channel type: Internal (6); data type: SP Floating point (7)",
               "condition: Channel A > B (2); A: CHAN_0 (channel); B: 2.5 (constant)",
               "Outputs (1)\n  1. OUT_0 \"Alarm relay contact\"\n",
               "when true:\n         DIGITAL_OUT {OUT_0}, CLOSED\n", "Resource requests (0)\n",
               // Program text is printed unescaped, a line of the logger program per line.
               "Program text:\n  .if pass==INIT_PASS\n  \tDIGITAL_OUT_INIT {OUT_0}, OPEN\n"
               "  .endif\n"}),
      None)
      << relay.out;
  CliRun probe = Corvale({kSample, "TMP100"});
  EXPECT_EQ(Missing(probe.out,
                    {"units: \xC2\xB0"
                     "C",  // windows-1252 text comes out as UTF-8
                     "CDT settings (1)\n  1. CDT_0\n", "resource: EXCITATION; lock: None (0)"}),
            None)
      << probe.out;
  CliRun transducer = Corvale({kSample, "PRS420"});
  EXPECT_EQ(Missing(transducer.out, {"Buddies (1)\n  1. examples/sample_library.xml|TMP100\n",
                                     "Files (1)\n  1. LIB\\PRS420.INC\n",
                                     "date: 2023-01-01 12:00:00", "lock: Exclusive Lock (1)"}),
            None)
      << transducer.out;
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

  EXPECT_TRUE(Contains(Corvale({scheme, "B"}).out, "Program text:\n  A\\B\n  C\n"));

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

  EXPECT_EQ(Corvale({TempDir() + "/instrument/none.xml"}).status, 1);
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

// Runs the scheme workflow of the built corvale program on the bundled examples.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "tests/support/test_support.h"

namespace {

using corvale::test::CliRun;
using corvale::test::ReadFile;
using corvale::test::RunCli;
using corvale::test::TempDir;
using nlohmann::json;

const std::string kLibrary = std::string(CORVALE_SOURCE_DIR) + "/examples/sample_library.xml";
const std::string kLoggers = std::string(CORVALE_SOURCE_DIR) + "/examples/sample_loggers.xml";

TEST(SchemeCommand, BuildsShowsAndCompilesASchemeFromTheExamples) {
  const std::string scheme = TempDir() + "/workflow.xml";
  CliRun made = RunCli(
      {"scheme", "new", scheme, "--loggers", kLoggers, "--logger", "CV800", "--library", kLibrary});
  ASSERT_EQ(made.status, 0) << made.err;

  CliRun first = RunCli({"scheme", "add", scheme, "SM300", "--json"});
  ASSERT_EQ(first.status, 0) << first.err;
  const json added = json::parse(first.out);
  EXPECT_EQ(added["key"], "SM300_01");
  EXPECT_EQ(added["channels"][0]["loggerChannel"], "SE01_LOW");  // the closest range
  EXPECT_EQ(added["channels"][1]["loggerChannel"], "SE02_WIDE");
  EXPECT_EQ(added["channels"][0]["resources"][0], "INPUT_SE01");
  CliRun second = RunCli({"scheme", "add", scheme, "SM300"});
  EXPECT_TRUE(second.Says("added SM300_02  Soil moisture probe #2")) << second.out;
  EXPECT_TRUE(second.Says("Moisture1  Analogue  SE03_LOW  holds INPUT_SE03")) << second.out;
  ASSERT_EQ(RunCli({"scheme", "add", scheme, "GPS10"}).status, 0);

  // The modem wants the serial port that the GPS receiver holds: refused, file unchanged.
  const std::string before = ReadFile(scheme);
  CliRun modem = RunCli({"scheme", "add", scheme, "MDM20", "--json"});
  EXPECT_EQ(modem.status, 1);
  const json refused = json::parse(modem.out);
  EXPECT_FALSE(refused["inScheme"]);
  EXPECT_EQ(refused["errors"][0]["number"], "0x800403EB");
  EXPECT_EQ(refused["errors"][0]["fatal"], true);
  EXPECT_EQ(refused["errors"][0]["description"],
            "The instrument requires resources that are not available on the logger");
  EXPECT_EQ(ReadFile(scheme), before);

  EXPECT_EQ(RunCli({"scheme", "add", scheme, "RLY01", "--before", "SM300_01"}).status, 0);
  EXPECT_EQ(RunCli({"scheme", "remove", scheme, "SM300_02"}).status, 0);
  CliRun missing = RunCli({"scheme", "remove", scheme, "SM300_02"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_TRUE(missing.Says("error 9")) << missing.err;

  CliRun show = RunCli({"scheme", "show", scheme, "--json"});
  ASSERT_EQ(show.status, 0) << show.err;
  const json report = json::parse(show.out);
  std::string keys;
  for (const auto& i : report["instruments"]) keys += i["key"].get<std::string>() + " ";
  EXPECT_EQ(keys, "RLY01_01 SM300_01 GPS10 ");
  for (const auto& r : report["resources"]) {
    if (r["key"] == "INPUT_SE03") {
      EXPECT_TRUE(r["users"].empty()) << "given back on removal";
    }
    if (r["key"] == "COM1") {
      EXPECT_EQ(r["lock"], "Exclusive Lock");
      EXPECT_EQ(r["users"][0], "GPS10");
    }
  }
  ASSERT_EQ(report["events"].size(), 1u);
  EXPECT_EQ(report["events"][0]["key"], "SM300_01|EVENT01");
  EXPECT_EQ(report["outputs"][0]["key"], "TIMESYNC");

  const std::string listing = TempDir() + "/workflow.inp";
  CliRun compiled = RunCli({"scheme", "compile", scheme, "-o", listing});
  ASSERT_EQ(compiled.status, 0) << compiled.err;
  const std::string program = ReadFile(listing);
  const size_t relay = program.find("; instrument RLY01_01 (Alarm relay #1)\n");
  const size_t probe = program.find("; instrument SM300_01 (Soil moisture probe #1)\n.if pass");
  const size_t channel = program.find("; channel SM300_01|CHAN_1 SoilTemp on SE02_WIDE\n");
  const size_t output = program.find("; output TIMESYNC true\nCLOCK_SET NMEA_TIME\n");
  const size_t event = program.find("; event SM300_01|EVENT01 false\n");
  EXPECT_LT(relay, probe);
  EXPECT_LT(probe, channel);
  EXPECT_LT(channel, output);
  EXPECT_LT(output, event);
  EXPECT_NE(event, std::string::npos) << program;
  EXPECT_EQ(program.find("SM300_02"), std::string::npos);
}

TEST(SchemeCommand, RefusesBadInputWithoutTouchingFiles) {
  const std::string scheme = TempDir() + "/bad.xml";
  EXPECT_EQ(RunCli({"scheme", "new", scheme, "--loggers", kLoggers}).status, 2);
  EXPECT_EQ(RunCli({"scheme", "new", scheme, "--loggers", kLoggers, "--logger", "NOPE"}).status, 1);
  corvale::test::WriteFile(scheme, "<LOGGERS/>");
  CliRun wrongRoot = RunCli({"scheme", "show", scheme});
  EXPECT_EQ(wrongRoot.status, 1);
  EXPECT_TRUE(wrongRoot.Says("not a scheme")) << wrongRoot.err;
  EXPECT_EQ(ReadFile(scheme), "<LOGGERS/>");
  EXPECT_EQ(RunCli({"scheme", "add", scheme, "X", "--before", "A", "--after", "B"}).status, 2);

  const std::string good = TempDir() + "/good.xml";
  ASSERT_EQ(RunCli({"scheme", "new", good, "--loggers", kLoggers, "--logger", "CV800", "--library",
                    kLibrary})
                .status,
            0);
  CliRun unknown = RunCli({"scheme", "add", good, "NOSUCH"});
  EXPECT_EQ(unknown.status, 1);
  EXPECT_TRUE(unknown.Says("NOSUCH")) << unknown.err;
}

}  // namespace

// Runs the built corvale program's loggers command on the sample file and on bad files.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "tests/support/test_support.h"

namespace {

using corvale::test::CliRun;
using corvale::test::RunCli;
using corvale::test::WriteFile;

const std::string kSample = std::string(CORVALE_SOURCE_DIR) + "/examples/sample_loggers.xml";

TEST(LoggersCommand, ListsAndShowsTheSampleDefinitions) {
  CliRun list = RunCli({"loggers", kSample});
  ASSERT_EQ(list.status, 0) << list.err;
  EXPECT_LT(list.out.find("CV800"), list.out.find("CV400"));
  EXPECT_TRUE(list.Says("Corvale CV100 pulse logger")) << list.out;

  CliRun json = RunCli({"loggers", kSample, "--json"});
  ASSERT_EQ(json.status, 0) << json.err;
  const auto listed = nlohmann::json::parse(json.out);
  ASSERT_EQ(listed["loggers"].size(), 3u);
  EXPECT_EQ(listed["loggers"][0]["key"], "CV800");
  EXPECT_EQ(listed["loggers"][0]["loggerType"], 1);
  EXPECT_GE(listed["loggers"][0]["inputChannels"].get<int>(), 40);

  CliRun show = RunCli({"loggers", kSample, "cv400", "--json"});
  ASSERT_EQ(show.status, 0) << show.err;
  const auto logger = nlohmann::json::parse(show.out);
  EXPECT_EQ(logger["name"], "Corvale CV400 compact logger");
  EXPECT_EQ(logger["timeBase"], 0.1);
  const auto& first = logger["inputChannels"][0];
  EXPECT_EQ(first["channelTypeName"], "Analogue");
  EXPECT_EQ(first["requests"][0]["lockCaption"], "None");
  EXPECT_EQ(first["stateText"], "free");

  CliRun text = RunCli({"loggers", kSample, "CV100P"});
  ASSERT_EQ(text.status, 0) << text.err;
  EXPECT_TRUE(text.Says("Logger CV100P: Corvale CV100 pulse logger")) << text.out;
  EXPECT_TRUE(text.Says("CNT1: Counter (2)")) << text.out;
  EXPECT_TRUE(text.Says("Output channels (0)")) << text.out;
}

TEST(LoggersCommand, ShowsLocksUsersAndStateOfAllocatedResources) {
  const std::string path = WriteFile(
      "cli-loggers/allocated.xml",
      "<LOGGERS><LOGGER><KEY>L</KEY><INPUTCHANNELS>"
      "<CHANNEL><KEY>AIN1</KEY><CHANNELTYPE>1</CHANNELTYPE><MIN>-5</MIN><MAX>5</MAX>"
      "<RESOURCES><REQUEST><KEY>RES_0</KEY><RESOURCE>COM1</RESOURCE><LOCK>1</LOCK></REQUEST>"
      "</RESOURCES></CHANNEL>"
      "<CHANNEL><KEY>AIN2</KEY><RESOURCES><REQUEST><RESOURCE>GONE</RESOURCE></REQUEST>"
      "</RESOURCES></CHANNEL></INPUTCHANNELS>"
      "<RESOURCES><RESOURCE><KEY>COM1</KEY><LOCK>1</LOCK><USERS><USER>SCHEME.TMP_1</USER>"
      "</USERS></RESOURCE><RESOURCE><KEY>SDI12</KEY><LOCK>2</LOCK></RESOURCE></RESOURCES>"
      "</LOGGER></LOGGERS>");
  CliRun run = RunCli({"loggers", path, "L"});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_TRUE(run.Says("COM1: Exclusive Lock; type 0; users: SCHEME.TMP_1")) << run.out;
  EXPECT_TRUE(run.Says("SDI12: Not Available")) << run.out;
  EXPECT_TRUE(run.Says("range -5 to 5; in use, locked")) << run.out;
  EXPECT_TRUE(
      run.Says("request RES_0: COM1, lock mode Exclusive Lock; resource lock Exclusive "
               "Lock, users: SCHEME.TMP_1"))
      << run.out;
  EXPECT_TRUE(run.Says("the logger has no such resource")) << run.out;
}

TEST(LoggersCommand, BadFilesGetAClearMessageAndStatusOne) {
  CliRun broken = RunCli({"loggers", WriteFile("cli-loggers/broken.xml", "<LOGGERS>\n<LOGGER>")});
  EXPECT_EQ(broken.status, 1);
  EXPECT_TRUE(broken.Says("broken.xml:")) << broken.err;
  CliRun other = RunCli({"loggers", WriteFile("cli-loggers/other.xml", "<SYSTEMS/>")});
  EXPECT_EQ(other.status, 1);
  EXPECT_TRUE(other.Says("root element is <SYSTEMS>, not <LOGGERS>")) << other.err;
  CliRun twice = RunCli(
      {"loggers", WriteFile("cli-loggers/twice.xml",
                            "<LOGGERS><LOGGER><KEY>CV8</KEY></LOGGER><LOGGER><CATCODE>cv8</CATCODE>"
                            "</LOGGER></LOGGERS>")});
  EXPECT_EQ(twice.status, 1);
  EXPECT_TRUE(twice.Says("two logger definitions have the key \"cv8\" (error 457")) << twice.err;
  const std::string inner = WriteFile(
      "cli-loggers/inner.xml",
      "<LOGGERS><LOGGER><KEY>A</KEY><INPUTCHANNELS><CHANNEL><KEY>X</KEY></CHANNEL>"
      "<CHANNEL><KEY>x</KEY></CHANNEL></INPUTCHANNELS></LOGGER><LOGGER><KEY>B</KEY></LOGGER>"
      "</LOGGERS>");
  CliRun listed = RunCli({"loggers", inner});
  EXPECT_EQ(listed.status, 1);
  EXPECT_TRUE(listed.Says("logger A: two channels of INPUTCHANNELS have the key \"x\""))
      << listed.err;
  EXPECT_TRUE(listed.Says("B")) << listed.out;  // the others are still listed
  EXPECT_EQ(RunCli({"loggers", inner, "a"}).status, 1);
  CliRun unknown = RunCli({"loggers", kSample, "CV9"});
  EXPECT_EQ(unknown.status, 1);
  EXPECT_TRUE(unknown.Says("no logger definition with the key \"CV9\""));
  EXPECT_EQ(RunCli({"loggers", "/nonexistent/loggers.xml"}).status, 1);
  EXPECT_EQ(RunCli({"loggers"}).status, 2);
  EXPECT_EQ(RunCli({"loggers", kSample, "A", "B"}).status, 2);
}

}  // namespace

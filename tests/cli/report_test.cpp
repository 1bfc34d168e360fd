// The command line as scripts use it: usage errors, --json documents with the content of the text
// output, and errors that name the file, the instrument and the element that broke.
#include "cli/report.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <sstream>
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
using nlohmann::json;

const std::string kLibrary = std::string(CORVALE_SOURCE_DIR) + "/examples/sample_library.xml";
const std::string kLoggers = std::string(CORVALE_SOURCE_DIR) + "/examples/sample_loggers.xml";
const std::string kExtension = std::string(CORVALE_SOURCE_DIR) + "/examples/sample_extension.xml";

// Every non-empty line of every string of the document, except the names of the files and the
// start-up list that the command line gave.
void CollectStrings(const json& value, std::vector<std::string>& strings) {
  if (value.is_string()) {
    std::istringstream lines(value.get<std::string>());
    for (std::string line; std::getline(lines, line);) {
      if (!line.empty() && line.back() == '\r') line.pop_back();
      if (!line.empty()) strings.push_back(line);
    }
  }
  if (!value.is_structured()) return;
  for (auto it = value.begin(); it != value.end(); ++it) {
    if (value.is_object() &&
        (it.key() == "file" || it.key() == "mergeFile" || it.key() == "targetFile" ||
         it.key() == "app" || it.key() == "section"))
      continue;
    CollectStrings(*it, strings);
  }
}

TEST(CommandLine, UsageErrorsExitTwoWithTheCommandsUsage) {
  struct Case {
    std::vector<std::string> args;
    std::string usage;  // the usage line that must follow the message
  };
  for (const Case& c : std::vector<Case>{
           {{"instrument", kLibrary, "--verbose"}, "usage: corvale instrument FILE [CATCODE]"},
           {{"instrument", kLibrary, "A", "B"}, "usage: corvale instrument FILE"},
           {{"merge", kExtension}, "usage: corvale merge MERGEFILE --target-file LIBRARYFILE"},
           {{"merge", kExtension, "--target-file"}, "usage: corvale merge"},
           {{"library"}, "usage: corvale library [FILE] [CATCODE] [--json] | register APP"},
           {{"library", "register", "App", "Section"}, "usage: corvale library register APP"},
           {{"loggers", "--json"}, "usage: corvale loggers FILE [KEY] [--json]"},
           {{"check", "--json"}, "usage: corvale check FILE... [--json]"},
           {{"--frobnicate"}, "usage: corvale COMMAND"}}) {
    const CliRun run = RunCli(c.args);
    EXPECT_EQ(run.status, 2) << c.args[0] << " " << run.err;
    EXPECT_EQ(run.out, "") << c.args[0];
    EXPECT_TRUE(Contains(run.err, c.usage)) << run.err;
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), c.args[0][0] == '-' ? 4 : 2)
        << "one message, then the usage: " << run.err;
  }
  // Every command documents --json in its generated help.
  for (const char* command : {"check", "instrument", "library", "loggers", "merge"}) {
    const CliRun help = RunCli({command, "--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_TRUE(Contains(help.out, "--json")) << help.out;
  }
}

TEST(CommandLine, JsonCarriesTheContentOfTheText) {
  const std::string copy = WriteFile("report/library.xml", ReadFile(kLibrary));
  RunCli({"library", "register", "Harbour", "Libraries", copy});
  const std::vector<std::vector<std::string>> commands = {
      {"check", kLibrary, kLoggers},
      {"instrument", kLibrary},
      {"instrument", kLibrary, "RLY01"},
      {"library", kLibrary},
      {"library", kLibrary, "prs420"},
      {"library", "startup", "Harbour", "Libraries"},
      {"loggers", kLoggers},
      {"loggers", kLoggers, "CV800"},
      {"merge", kExtension, "--target-file", copy, "--yes"}};
  for (std::vector<std::string> args : commands) {
    const CliRun text = RunCli(args);
    if (args[0] == "merge") WriteFile("report/library.xml", ReadFile(kLibrary));
    args.push_back("--json");
    const CliRun run = RunCli(args);
    ASSERT_EQ(text.status, 0) << args[0] << ": " << text.err;
    ASSERT_EQ(run.status, 0) << args[0] << ": " << run.err;
    json document;
    ASSERT_NO_THROW(document = json::parse(run.out)) << run.out;
    ASSERT_TRUE(document.is_object()) << run.out;
    EXPECT_EQ(document["errors"], json::array()) << args[0];
    std::vector<std::string> strings;
    CollectStrings(document, strings);
    EXPECT_FALSE(strings.empty()) << run.out;
    for (const std::string& value : strings)
      EXPECT_TRUE(Contains(text.out, value)) << args[0] << ": \"" << value << "\" missing";
  }
  // Numbers keep the digits the documents write.
  const json listed = json::parse(RunCli({"instrument", kLibrary, "--json"}).out);
  ASSERT_EQ(listed["instruments"].size(), 8u);
  EXPECT_EQ(listed["instruments"][0]["version"], 1.1);
  EXPECT_EQ(listed["instruments"][3]["events"], 1);
  const json relay = json::parse(RunCli({"instrument", kLibrary, "RLY01", "--json"}).out);
  EXPECT_EQ(relay["outputs"][0]["trueCode"], "DIGITAL_OUT {OUT_0}, CLOSED");
  EXPECT_EQ(relay["events"][0]["chanBType"], 1);
}

TEST(CommandLine, AnUnreadableInstrumentIsNamedAndTheNextOnesListed) {
  const std::string path =
      WriteFile("report/overflow.xml",
                "<PennardInstrumentLibrary><NAME>Quay</NAME>"
                "<INSTRUMENT><CATCODE>A1</CATCODE><NAME>First</NAME></INSTRUMENT>"
                "<INSTRUMENT><CATCODE>W2</CATCODE><VERSION>1e400</VERSION></INSTRUMENT>"
                "<INSTRUMENT><CATCODE>C3</CATCODE><CHANNELS><CHANNEL><KEY>CHAN_0</KEY>"
                "<NUMBERBYTES>1e400</NUMBERBYTES></CHANNEL></CHANNELS></INSTRUMENT>"
                "<INSTRUMENT><CATCODE>D4</CATCODE><NAME>Last</NAME></INSTRUMENT>"
                "</PennardInstrumentLibrary>");
  for (const char* command : {"instrument", "library"}) {
    const CliRun list = RunCli({command, path});
    EXPECT_EQ(list.status, 1) << command;
    EXPECT_TRUE(Contains(list.out, "A1 \"First\"") && Contains(list.out, "C3 \"\"") &&
                Contains(list.out, "D4 \"Last\"") && !Contains(list.out, "W2"))
        << list.out;
    EXPECT_EQ(list.err, path + ": instrument 2 (W2), VERSION: error 6: Overflow\n") << command;
  }
  const CliRun library = RunCli({"library", path});
  EXPECT_TRUE(Contains(library.out, "Instruments: 4\n")) << library.out;

  // Showing one in full reaches the channel.
  const CliRun show = RunCli({"instrument", path, "c3"});
  EXPECT_EQ(show.status, 1);
  EXPECT_EQ(show.out, "");
  EXPECT_EQ(show.err,
            path + ": instrument 3 (C3), channel 1 (CHAN_0), NUMBERBYTES: error 6: Overflow\n");
  const json shown = json::parse(RunCli({"library", path, "C3", "--json"}).out);
  ASSERT_EQ(shown["errors"].size(), 1u);
  const json& error = shown["errors"][0];
  EXPECT_EQ(error["file"], path);
  EXPECT_EQ(error["instrument"], "C3");
  EXPECT_EQ(error["position"], 3);
  EXPECT_EQ(error["element"], "channel 1 (CHAN_0), NUMBERBYTES");
  EXPECT_EQ(error["error"], 6);
  EXPECT_EQ(error["description"], "Overflow");

  const json listed = json::parse(RunCli({"instrument", path, "--json"}).out);
  EXPECT_EQ(listed["instruments"].size(), 3u);
  EXPECT_EQ(listed["errors"][0]["instrument"], "W2");
}

TEST(CommandLine, CountsBeyondSixteenBitsAreErrorsNotNegativeNumbers) {
  // Written as saved (CHANGED and BASECLASS present), so that listing it writes nothing.
  std::string text = "<PennardInstrumentLibrary><NAME>Big</NAME><CHANGED>False</CHANGED>";
  for (int i = 1; i <= 32770; ++i)
    text += "<INSTRUMENT><CATCODE>I" + std::to_string(i) +
            "</CATCODE><BASECLASS>Corvale2.clsStdInstrument</BASECLASS></INSTRUMENT>";
  const std::string path = WriteFile("report/big.xml", text + "</PennardInstrumentLibrary>");
  const CliRun run = RunCli({"library", path});
  EXPECT_EQ(run.status, 1);
  EXPECT_TRUE(Contains(run.out, "Instruments: 32770\n")) << run.out.substr(0, 200);
  EXPECT_FALSE(Contains(run.out, "Instruments: -"));
  EXPECT_TRUE(Contains(run.out, "  I32767 ")) << "the ones the model reaches are listed";
  EXPECT_EQ(run.err, path +
                         ": holds 32770 instruments; a library holds at most 32767: error 6: "
                         "Overflow\n");

  // The same for the channels of one instrument; the next instrument is still listed.
  std::string channels;
  for (int i = 0; i < 32800; ++i) channels += "<CHANNEL/>";
  const std::string wide =
      WriteFile("report/wide.xml", "<L><INSTRUMENT><CATCODE>M</CATCODE><CHANNELS>" + channels +
                                       "</CHANNELS></INSTRUMENT><INSTRUMENT><CATCODE>N"
                                       "</CATCODE></INSTRUMENT></L>");
  const CliRun listed = RunCli({"instrument", wide});
  EXPECT_EQ(listed.status, 1);
  EXPECT_EQ(listed.err, wide + ": instrument 1 (M), CHANNELS: error 6: Overflow\n");
  EXPECT_EQ(listed.out.rfind("N \"\"", 0), 0u) << listed.out;
}

TEST(CommandLine, FileNamesCannotForgeOutput) {
  EXPECT_EQ(corvale::cli::Printable("a\nb\tc\x1b[2J\\d\x7f"
                                    "e\xc3\xa9"),
            "a\\nb\\tc\\x1b[2J\\\\d\\x7fe\xc3\xa9");
  const std::string forged =
      WriteFile("report/x.xml\nforged.xml: root ROOT, encoding UTF-8, 1 elements", "<A/>");
  const CliRun run = RunCli({"check", forged});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), 1) << run.out;
  EXPECT_TRUE(Contains(run.out, "x.xml\\nforged.xml: root ROOT")) << run.out;
  // The reason of a failed read repeats the path: it stays on its one line too.
  const CliRun missing = RunCli({"check", TempDir() + "/report/gone\nforged: ok"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(std::count(missing.err.begin(), missing.err.end(), '\n'), 1) << missing.err;

  // A name that is not UTF-8 still gives one JSON document; a missing file is one of its errors.
  const std::string odd = WriteFile("report/caf\xe9.xml", "<A/>");
  const CliRun json_run = RunCli({"check", odd, TempDir() + "/report/none.xml", "--json"});
  EXPECT_EQ(json_run.status, 1);
  json document;
  ASSERT_NO_THROW(document = json::parse(json_run.out)) << json_run.out;
  EXPECT_EQ(document["files"].size(), 1u);
  EXPECT_EQ(document["files"][0]["root"], "A");
  EXPECT_EQ(document["errors"].size(), 1u);
}

}  // namespace

// Runs the built corvale program's templates, systems and scale commands.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "tests/support/test_support.h"

namespace {

using corvale::test::CliRun;
using corvale::test::RunCli;
using corvale::test::TempDir;
using corvale::test::WriteFile;

const std::string kExamples = std::string(CORVALE_SOURCE_DIR) + "/examples/";

TEST(SystemsCommands, ListAndShowTheSampleTemplatesAndSystems) {
  CliRun templates = RunCli({"templates", kExamples + "sample_templates.xml", "--json"});
  ASSERT_EQ(templates.status, 0) << templates.err;
  const auto listed = nlohmann::json::parse(templates.out);
  ASSERT_EQ(listed["templates"].size(), 2u);
  EXPECT_EQ(listed["templates"][1]["key"], "TEMPLATE_2");
  EXPECT_EQ(listed["templates"][0]["instruments"], 2);

  CliRun weather = RunCli({"templates", kExamples + "sample_templates.xml", "template_1"});
  ASSERT_EQ(weather.status, 0) << weather.err;
  EXPECT_TRUE(weather.Says("Program memory data start: 1024\n")) << weather.out;
  EXPECT_TRUE(weather.Says("  RES_0 (Resource: COM1; Lock: Exclusive Lock)\n")) << weather.out;
  EXPECT_TRUE(weather.Says("  TMP100 (Tag: Air; Index: 1; Log channels: CHAN_0)\n"));

  CliRun system = RunCli({"systems", kExamples + "sample_systems.xml", "SYSTEM_1", "--json"});
  ASSERT_EQ(system.status, 0) << system.err;
  const auto shown = nlohmann::json::parse(system.out);
  EXPECT_EQ(shown["source"], "examples/sample_systems.xml|SYSTEM_1");
  EXPECT_EQ(shown["subInterval"], 10);
  EXPECT_EQ(shown["instruments"][0]["logChannels"], nlohmann::json({"CHAN_0", "CHAN_1"}));
  EXPECT_EQ(shown["embeddedScheme"]["elements"], 3);

  CliRun missing = RunCli({"systems", kExamples + "sample_systems.xml", "NONE"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_TRUE(missing.Says("no system with the key \"NONE\"")) << missing.err;
  CliRun wrongRoot = RunCli({"systems", kExamples + "sample_templates.xml"});
  EXPECT_EQ(wrongRoot.status, 1);
  EXPECT_TRUE(wrongRoot.Says("TEMPLATES")) << wrongRoot.err;
  CliRun broken = RunCli({"templates", WriteFile("cli/broken.xml", "<TEMPLATES><TEMPLATE>")});
  EXPECT_EQ(broken.status, 1);
  EXPECT_EQ(RunCli({"templates"}).status, 2);
}

TEST(SystemsCommands, ScaleWorksOutTheMultiplierAndOffset) {
  CliRun current = RunCli({"scale", "--output-type", "mA", "--out-min", "4", "--out-max", "20",
                           "--load", "124", "--sens-min", "0", "--sens-max", "10", "--json"});
  ASSERT_EQ(current.status, 0) << current.err;
  const auto result = nlohmann::json::parse(current.out);
  EXPECT_DOUBLE_EQ(result["multiplier"].get<double>(), 10.0 / 1984);
  EXPECT_EQ(result["offset"], -2.5);

  CliRun typed = RunCli({"scale", "--mode", "mult-offset", "--mult", "0.5", "--offset", "12",
                         "--cal-mult", "2", "--cal-offset", "1"});
  ASSERT_EQ(typed.status, 0) << typed.err;
  EXPECT_EQ(typed.out, "Multiplier: 1\nOffset: 25\n");

  CliRun flat =
      RunCli({"scale", "--out-min", "5", "--out-max", "5", "--sens-min", "0", "--sens-max", "1"});
  EXPECT_EQ(flat.status, 1);
  EXPECT_EQ(flat.err,
            "Unable to calculate multipliers required. Check the sensor Output Minimum and "
            "Maximum\n");
  CliRun flatJson = RunCli({"scale", "--out-min", "5", "--out-max", "5", "--sens-min", "0",
                            "--sens-max", "1", "--json"});
  const auto failed = nlohmann::json::parse(flatJson.out);
  EXPECT_EQ(failed["success"], false);
  EXPECT_EQ(failed["errors"][0]["text"],
            "Unable to calculate multipliers required.\r\n\r\nCheck the sensor Output Minimum "
            "and Maximum");
  EXPECT_EQ(RunCli({"scale", "--output-type", "mA", "--sens-min", "x", "--sens-max", "1"}).status,
            2);
  EXPECT_EQ(RunCli({"scale", "--output-type", "A", "--sens-min", "0", "--sens-max", "1"}).status,
            2);
  EXPECT_EQ(RunCli({"scale", "--mode", "mult-offset"}).status, 2);  // --mult is required
}

TEST(SystemsCommands, ASchemeListingCarriesTheScaleLineOfAScaledInstrument) {
  const std::string scheme = TempDir() + "/scaled.xml";
  ASSERT_EQ(RunCli({"scheme", "new", scheme, "--loggers", kExamples + "sample_loggers.xml",
                    "--logger", "CV800", "--library", kExamples + "sample_library.xml"})
                .status,
            0);
  CliRun added = RunCli({"scheme", "add", scheme, "LVL420"});
  ASSERT_EQ(added.status, 0) << added.err;
  EXPECT_TRUE(added.Says("WaterLevel  Analogue  SE01_LOW")) << added.out;
  // 10000 mm over 496-2480 mV, then the logger channel's 0.001 folded in: 5.04 -> 5.
  CliRun listing = RunCli({"scheme", "compile", scheme});
  ASSERT_EQ(listing.status, 0) << listing.err;
  EXPECT_TRUE(
      listing.Says("; Corvale2.ScaleChannel - Scale to EU\r\n.if pass==INIT_PASS\r\n"
                   "\tMorvaScaleChan WaterLevel,5,1000,-2500\r\n.endif\r\n"))
      << listing.out;
}

}  // namespace

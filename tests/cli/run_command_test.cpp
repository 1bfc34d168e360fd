// Runs the built corvale program's run command: output from the marker on, as text and JSON.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "tests/support/test_support.h"

namespace {

using corvale::test::CliRun;
using corvale::test::RunCli;

TEST(RunCommand, PrintsOutputFromTheMarkerOn) {
  CliRun text = RunCli(
      {"run", "--marker", "go", "--", "echo warming up; echo GO on", "&&", "echo -n done >&2"});
  ASSERT_EQ(text.status, 0) << text.err;
  EXPECT_EQ(text.out, "GO on\ndone");

  CliRun json = RunCli({"run", "--json", "--timeout", "5", "--", "echo", "a", "b"});
  ASSERT_EQ(json.status, 0) << json.err;
  const auto document = nlohmann::json::parse(json.out);
  std::string all;
  for (const auto& piece : document["output"]) all += piece.get<std::string>();
  EXPECT_EQ(all, "a b\n");
  EXPECT_EQ(document["command"], "echo a b");
  EXPECT_EQ(document["timeout"], 5);
  EXPECT_TRUE(document["errors"].empty());

  EXPECT_EQ(RunCli({"run", "--timeout", "soon", "--", "true"}).status, 2);
  EXPECT_EQ(RunCli({"run", "--marker", "x"}).status, 2);
}

}  // namespace

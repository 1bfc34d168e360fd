#include "cli/cli_util.h"

#include <gtest/gtest.h>

#include <optional>
#include <vector>

namespace corvale::cli {
namespace {

// Answers from a script, counting the questions.
struct Script {
  std::vector<std::optional<std::string>> lines;
  int asked = 0;
  TerminalHost::Ask Ask() {
    return [this](std::string_view) -> std::optional<std::string> {
      return asked < static_cast<int>(lines.size()) ? lines[asked++] : std::nullopt;
    };
  }
};

MsgAnswer Ask(Script& script, bool yes, MsgButtons buttons) {
  TerminalHost host(yes, script.Ask());
  return host.MessageBox("Merge 2 instruments into SITE?", "Merge", MsgIcon::Question, buttons);
}

TEST(TerminalHost, AsksConfirmsOrRefuses) {
  Script cancel{{"c"}};
  EXPECT_EQ(Ask(cancel, false, MsgButtons::OKCancel), MsgAnswer::Cancel);
  Script ok{{" OK "}};
  EXPECT_EQ(Ask(ok, false, MsgButtons::OKCancel), MsgAnswer::OK);
  Script yesWord{{"yes"}};
  EXPECT_EQ(Ask(yesWord, false, MsgButtons::OKCancel), MsgAnswer::OK);
  // Unclear answers are asked again; no answer at all refuses.
  Script retry{{"maybe", "", "o"}};
  EXPECT_EQ(Ask(retry, false, MsgButtons::OKCancel), MsgAnswer::OK);
  EXPECT_EQ(retry.asked, 3);
  Script nobody{{}};
  EXPECT_EQ(Ask(nobody, false, MsgButtons::OKCancel), MsgAnswer::Cancel);
  EXPECT_EQ(Ask(nobody, false, MsgButtons::YesNo), MsgAnswer::No);
  Script no{{"n"}};
  EXPECT_EQ(Ask(no, false, MsgButtons::YesNoCancel), MsgAnswer::No);

  // --yes answers the first button without asking; a plain notice asks nothing either.
  Script silent{{"c"}};
  EXPECT_EQ(Ask(silent, true, MsgButtons::OKCancel), MsgAnswer::OK);
  EXPECT_EQ(Ask(silent, true, MsgButtons::YesNo), MsgAnswer::Yes);
  EXPECT_EQ(Ask(silent, false, MsgButtons::OK), MsgAnswer::OK);
  EXPECT_EQ(silent.asked, 0);
}

TEST(CliArguments, OptionsFlagsAndOperands) {
  std::vector<std::string> args{"a.xml", "--yes", "--target-file", "lib.xml", "b.xml"};
  EXPECT_TRUE(TakeFlag(args, "--yes"));
  EXPECT_FALSE(TakeFlag(args, "--yes"));
  EXPECT_EQ(TakeOption(args, "--target-file"), "lib.xml");
  EXPECT_EQ(args, (std::vector<std::string>{"a.xml", "b.xml"}));

  args = {"--target-file=x.xml", "--", "--yes"};
  EXPECT_EQ(TakeOption(args, "--target-file"), "x.xml");
  EXPECT_FALSE(TakeFlag(args, "--yes"));  // after "--" it is a file name
  RejectUnknownOptions(args);
  EXPECT_EQ(args, std::vector<std::string>{"--yes"});

  args = {"a.xml", "--target-file"};
  EXPECT_THROW(TakeOption(args, "--target-file"), UsageError);
  args = {"a.xml", "-v"};
  EXPECT_THROW(RejectUnknownOptions(args), UsageError);
  args = {"-"};
  EXPECT_NO_THROW(RejectUnknownOptions(args));
}

}  // namespace
}  // namespace corvale::cli

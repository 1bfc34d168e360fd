#include "cli/cli_util.h"

#include <gtest/gtest.h>

#include <optional>
#include <vector>

namespace corvale::cli {
namespace {

TEST(TerminalHost, AsksConfirmsOrRefuses) {
  struct Case {
    std::vector<std::optional<std::string>> lines;  // the answers typed; none: end of input
    bool yes;                                       // --yes given
    MsgButtons buttons;
    MsgAnswer answer;
    int asked;
  };
  using B = MsgButtons;
  using A = MsgAnswer;
  for (const Case& c : std::vector<Case>{{{"c"}, false, B::OKCancel, A::Cancel, 1},
                                         {{" OK "}, false, B::OKCancel, A::OK, 1},
                                         {{"yes"}, false, B::OKCancel, A::OK, 1},
                                         // Unclear answers are asked again.
                                         {{"maybe", "", "o"}, false, B::OKCancel, A::OK, 3},
                                         // No answer at all refuses.
                                         {{}, false, B::OKCancel, A::Cancel, 0},
                                         {{}, false, B::YesNo, A::No, 0},
                                         {{"n"}, false, B::YesNoCancel, A::No, 1},
                                         // --yes answers the first button without asking; a
                                         // plain notice asks nothing either.
                                         {{"c"}, true, B::OKCancel, A::OK, 0},
                                         {{"c"}, true, B::YesNo, A::Yes, 0},
                                         {{"c"}, false, B::OK, A::OK, 0}}) {
    int asked = 0;
    TerminalHost host(c.yes, [&](std::string_view) -> std::optional<std::string> {
      return asked < static_cast<int>(c.lines.size()) ? c.lines[asked++] : std::nullopt;
    });
    EXPECT_EQ(
        host.MessageBox("Merge 2 instruments into SITE?", "Merge", MsgIcon::Question, c.buttons),
        c.answer)
        << (c.lines.empty() ? "" : c.lines[0].value_or(""));
    EXPECT_EQ(asked, c.asked);
  }
}

}  // namespace
}  // namespace corvale::cli

// Helpers shared by the commands of the corvale program: exit statuses, error output and the
// terminal message box. The command line itself is parsed by CLI11 (see cli/command.h).
#pragma once

#include <exception>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "corvale/core/error.h"
#include "corvale/core/host.h"

namespace corvale::cli {

inline constexpr int kExitOk = 0;
inline constexpr int kExitFailure = 1;
inline constexpr int kExitUsage = 2;

// Thrown by a command for a wrong command line that CLI11 cannot check; it is printed with the
// command's usage and the program exits with status 2.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// "error <number>: <description>" on standard error.
void PrintError(const Error& error);
// The same for any failure caught in a command; returns kExitFailure.
int ReportFailure(std::exception_ptr failure);

// The message box of the corvale program. With assumeYes it answers the affirmative button
// without asking; otherwise it asks on the terminal when standard input is one, and refuses
// (Cancel, or No) when it is not. Boxes with an OK button alone are only shown.
class TerminalHost : public HostServices {
 public:
  // Returns the user's line, or nothing when no one can be asked.
  using Ask = std::function<std::optional<std::string>(std::string_view prompt)>;

  explicit TerminalHost(bool assumeYes);
  TerminalHost(bool assumeYes, Ask ask);

  MsgAnswer MessageBox(std::string_view text, std::string_view title, MsgIcon icon,
                       MsgButtons buttons) override;

 private:
  bool assumeYes_;
  Ask ask_;
};

// Asks on /dev/tty when standard input is a terminal; nothing otherwise.
std::optional<std::string> AskOnTerminal(std::string_view prompt);

// Makes a TerminalHost the host services of the program.
void UseTerminalHost(bool assumeYes);

}  // namespace corvale::cli

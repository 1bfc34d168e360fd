// The diagnostic log: one line per trapped failure, and a message box to the user.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace corvale {

// Appends "<short date and time>: <source> : <number>-<description>" + CR LF to logFile, or
// to the log folder's CORVALE.LOG when logFile is empty, then shows a message box with the
// same text less the date (exclamation icon). Never raises.
void LogError(int32_t number, std::string_view description, std::string_view source,
              std::string_view logFile = {});

// The default log file: Host().LogFolder() + "/CORVALE.LOG".
std::string DefaultLogFile();

// The short date and time text that starts a log line.
std::string LogTimestamp();

// The trap of a procedure that logs failures: each Step runs one statement; a failure is
// logged with the procedure's source literal and the procedure goes on with its next step
// ("resume next"). After Leave() has been asked for, a failure instead makes every later
// step a no-op (the procedures that leave after logging).
class ErrorTrap {
 public:
  enum class OnError { ResumeNext, Leave };
  explicit ErrorTrap(std::string source, OnError mode = OnError::ResumeNext);

  // Runs the statement unless the trap has left; returns true when it completed.
  bool Step(const std::function<void()>& statement);
  bool Failed() const { return failures_ > 0; }
  int Failures() const { return failures_; }

 private:
  std::string source_;
  OnError mode_;
  int failures_ = 0;
};

}  // namespace corvale

// The diagnostic log: one line per trapped failure, and a message box to the user.
#pragma once

#include <cstdint>
#include <exception>
#include <functional>
#include <string>
#include <string_view>

#include "corvale/core/error.h"

namespace corvale {

// The title of the message box that LogError shows.
inline constexpr std::string_view kLogTitle = "Corvale";

// Appends "<short date>: <source> : <number>-<description>" + CR LF to logFile, or to
// DefaultLogFile() when logFile is empty (the file is created when missing), then shows a
// message box with the same text less the date (exclamation icon, OK). The box is shown also
// when the file could not be written. Never raises.
void LogError(int32_t number, std::string_view description, std::string_view source,
              std::string_view logFile = {}) noexcept;

// The default log file: Host().LogFolder() + "/CORVALE.LOG".
std::string DefaultLogFile();

// The short date that starts a log line: today in the short-date form of the user's LC_TIME
// locale, or YYYY-MM-DD when that locale has none of its own (C, POSIX or unknown).
std::string LogTimestamp();

// The number and description under which a trap logs a failure:
//   corvale::Error                          its own number and description
//   std::bad_alloc                          7 "Out of memory"
//   std::out_of_range                       9 (subscript out of range), what()
//   std::overflow_error, std::range_error   6 (overflow), what()
//   std::ios_base::failure, filesystem      75 (path/file access error), what()
//   any other std::exception                5 (invalid procedure call or argument), what()
//   anything else                           5 "Unknown failure"
Error ErrorFromException(std::exception_ptr failure);

// The trap of a procedure that logs failures: each Step runs one statement; a failure is
// logged with the procedure's source literal and the procedure goes on with its next step
// (ResumeNext). In Leave mode a failure is logged and every later step is skipped (the
// procedures that leave after logging). The failure never reaches the caller.
class ErrorTrap {
 public:
  enum class OnError { ResumeNext, Leave };
  explicit ErrorTrap(std::string source, OnError mode = OnError::ResumeNext);

  // Runs the statement unless the trap has left; returns true when it completed.
  bool Step(const std::function<void()>& statement);
  bool Failed() const { return failures_ > 0; }
  int Failures() const { return failures_; }
  // True once a Leave trap has caught a failure: the rest of the procedure is skipped.
  bool HasLeft() const { return mode_ == OnError::Leave && failures_ > 0; }
  const std::string& Source() const { return source_; }

 private:
  std::string source_;
  OnError mode_;
  int failures_ = 0;
};

}  // namespace corvale

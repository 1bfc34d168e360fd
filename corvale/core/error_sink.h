// Where an operation reports failures that must not stop it: the scheme's operations collect
// them in an error list (one entry per failure, with a fatal flag) instead of raising them, and
// a host or a command-line report can collect them the same way.
#pragma once

#include <cstdint>
#include <exception>
#include <string>
#include <string_view>

#include "corvale/core/error.h"

namespace corvale {

class ErrorSink {
 public:
  virtual ~ErrorSink() = default;
  // One failure: its number, its text, where it arose ("class:procedure") and whether it ends
  // the operation that reports it.
  virtual void Report(int32_t number, std::string description, std::string source, bool fatal) = 0;
};

// Reports a caught failure (the current exception of a catch block, or any exception_ptr)
// with the number and text that the diagnostic log would give it, under the given source.
void ReportFailure(ErrorSink& sink, std::exception_ptr failure, std::string_view source,
                   bool fatal);

}  // namespace corvale

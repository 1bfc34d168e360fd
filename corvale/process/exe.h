// clsEXE: runs the tool-chain programs (the logger compiler and its helpers) and waits for
// them, letting the host's user interface work between polls.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "corvale/core/listener.h"
#include "corvale/core/object.h"

namespace corvale {

// The capture stub's file name; it lies in the library's own folder.
inline constexpr std::string_view kStubProgram = "corvale-stub";

// The stub's path: the library's own folder (host services) + "/" + kStubProgram.
std::string StubPath();

// The command line that starts the stub for RedirectDOSEXE: the quoted stub path, the command
// and the stub's limit in milliseconds, (timeOut - 1) * 1000, one second shorter than the
// caller's limit. Raises 6 when that limit overflows 32 bits.
std::string StubCommandLine(std::string_view commandLine, int32_t timeOut);

// The name a console shows for a program: upper case, without folder and extension. Where the
// text names "COMMAND.COM" or "CMD.EXE", the program is the first drive path after that word,
// up to the blank after it; without such a path (or blank) it raises 5.
std::string ProgramTitle(std::string_view text);

class clsEXE : public Object {
 public:
  // Runs CommandLine through the capture stub with standard output and error captured, and
  // raises RedirOutput with the output from the first StartMarker on (any case; an empty
  // marker passes everything). Returns when the process has ended, has been idle for TimeOut
  // seconds (0 or less: no limit) or could not be started.
  void RedirectDOSEXE(std::string_view commandLine, std::string_view startMarker, int32_t timeOut);
  // Sets the cancel flag. No wait reads it: a running command goes on.
  void Cancel();
  // Runs Program followed by Arguments (the caller supplies any blank between them) and waits
  // for it to end or for TimeOut seconds (0 or less: no limit); then ends it if it still runs.
  // Style is accepted and not used.
  void ShellDOSEXE(std::string_view program, std::string_view arguments, int32_t timeOut = 0,
                   int32_t style = 1);
  void ShellAndWait(std::string_view program, std::string_view arguments, int32_t timeOut);

  // Where RedirOutput and ProcessFinished go.
  void Listener(ProcessListenerPtr listener) { listener_ = std::move(listener); }
  ProcessListenerPtr Listener() const { return listener_; }

  Variant Invoke(std::string_view member, const Args& args = {}) override;

 private:
  void RaiseOutput(std::string_view text);
  void RunAndWait(std::string_view program, std::string_view arguments, int32_t timeOut);

  bool cancel_ = false;
  ProcessListenerPtr listener_;
};

}  // namespace corvale

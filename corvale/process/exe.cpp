#include "corvale/process/exe.h"

#include <cmath>
#include <limits>
#include <optional>
#include <vector>

#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/core/host.h"
#include "corvale/core/member_table.h"
#include "corvale/process/child_process.h"

namespace corvale {
namespace {

constexpr size_t kReadLimit = 256;  // bytes taken from the pipe a round
// A round waits at most this long for output or for the program's end, instead of spinning;
// the host's user interface stays alive all the same.
constexpr int kPollMs = 20;
constexpr double kSecondsPerDay = 86400;
constexpr std::string_view kTimeoutText = "Timeout!\r\nProcess failed";

double WholeSeconds(double clock) { return std::floor(clock); }

// The stub's arguments from its command line: the quoted program, the command, and the limit
// after the last blank, as the stub reads them.
std::vector<std::string> StubArguments(const std::string& line) {
  const size_t programEnd = line.find('"', 1);
  const size_t limitStart = line.rfind(' ');
  return {line.substr(1, programEnd - 1), line.substr(programEnd + 2, limitStart - programEnd - 2),
          line.substr(limitStart + 1)};
}

// Holds output back until the start marker has been seen, then passes everything on from the
// marker itself. The search covers all text held back, so a marker split across two reads is
// found; it resumes where the last search could still have started a match.
class MarkerGate {
 public:
  explicit MarkerGate(std::string_view marker) : marker_(UpperCase(marker)) {}

  // The text to pass on after `bytes` arrived; empty while the marker has not been seen.
  std::string Take(std::string_view bytes) {
    pending_.append(bytes);
    if (!seen_) {
      const size_t from = searched_ > marker_.size() ? searched_ - marker_.size() + 1 : 0;
      const size_t found = UpperCase(std::string_view(pending_).substr(from)).find(marker_);
      if (found == std::string::npos) {
        searched_ = pending_.size();
        return {};
      }
      pending_.erase(0, from + found);
      seen_ = true;
    }
    return std::exchange(pending_, {});
  }

 private:
  std::string marker_, pending_;
  size_t searched_ = 0;
  bool seen_ = false;
};

}  // namespace

std::string StubPath() { return Host().LibraryFolder() + "/" + std::string(kStubProgram); }

std::string StubCommandLine(std::string_view commandLine, int32_t timeOut) {
  const int64_t limit = (static_cast<int64_t>(timeOut) - 1) * 1000;
  if (limit < std::numeric_limits<int32_t>::min() || limit > std::numeric_limits<int32_t>::max())
    throw Error(err::kOverflow);
  return "\"" + StubPath() + "\" " + std::string(commandLine) + " " + IntegerText(limit);
}

std::string ProgramTitle(std::string_view program) {
  std::string text = UpperCase(program);
  size_t word = text.find("COMMAND.COM");
  if (word == std::string::npos) word = text.find("CMD.EXE");
  if (word != std::string::npos) {
    const size_t path = text.find(":\\", word);
    const size_t blank = path == std::string::npos ? path : text.find(' ', path);
    if (blank == std::string::npos) throw Error(err::kInvalidProcedureCall);
    // The character before the blank goes too; cutting the extension below hides that for
    // every program that has one.
    text = text.substr(path, blank - path - 1);
  }
  const size_t separator = text.find_last_of("\\/");
  std::string name = separator == std::string::npos ? text : text.substr(separator + 1);
  if (const size_t dot = name.rfind('.'); dot != std::string::npos) name.resize(dot);
  const size_t first = name.find_first_not_of('\t');
  if (first == std::string::npos) return {};
  return name.substr(first, name.find_last_not_of('\t') + 1 - first);
}

void clsEXE::RaiseOutput(std::string_view text) {
  if (listener_) listener_->RedirOutput(text);
}

void clsEXE::RedirectDOSEXE(std::string_view commandLine, std::string_view startMarker,
                            int32_t timeOut) {
  cancel_ = false;
  const std::string line = StubCommandLine(commandLine, timeOut);
  OutputPipe pipe;
  if (!pipe.Open()) return;
  std::optional<ChildProcess> child = ChildProcess::Start(StubArguments(line), pipe.writeFd());
  if (!child) return;
  pipe.CloseWriteEnd();

  MarkerGate gate(startMarker);
  auto passOn = [&](std::string_view bytes) {
    if (const std::string text = gate.Take(bytes); !text.empty()) RaiseOutput(text);
  };
  double lastOutput = WholeSeconds(Host().Clock());
  bool closed = false;
  for (;;) {
    child->Wait(closed ? -1 : pipe.readFd(), kPollMs);
    const std::string bytes = closed ? std::string() : pipe.ReadSome(kReadLimit, closed);
    if (!bytes.empty()) {
      lastOutput = WholeSeconds(Host().Clock());
      passOn(bytes);
    } else {
      Host().DoEvents();
    }
    if (child->Ended()) break;
    if (timeOut < 1) continue;
    // An idle limit, with no midnight rule: a run that passes midnight is ended by the stub.
    if (Host().Clock() >= lastOutput + timeOut) {
      child->Terminate();
      RaiseOutput(kTimeoutText);
      return;
    }
  }
  // Leaving as soon as the process has ended could drop what it wrote last, which is what a
  // compiler's summary usually is; read what is left in the pipe first.
  while (!closed) {
    const std::string bytes = pipe.ReadSome(kReadLimit, closed);
    if (bytes.empty()) break;
    passOn(bytes);
  }
}

void clsEXE::Cancel() { cancel_ = true; }

void clsEXE::ShellDOSEXE(std::string_view program, std::string_view arguments, int32_t timeOut,
                         int32_t /*style*/) {
  // There are no console windows to find here, so waiting for the process replaces the search
  // for the finished window; the title is still worked out first, because a command line it
  // cannot read fails the call before anything runs.
  const std::string upper = UpperCase(program);
  if (upper.find("CMD.EXE") == std::string::npos &&
      upper.find("COMMAND.COM") == std::string::npos) {
    ProgramTitle(program);
  } else {
    ProgramTitle(std::string(program) + std::string(arguments));
  }
  RunAndWait(program, arguments, timeOut);
}

void clsEXE::ShellAndWait(std::string_view program, std::string_view arguments, int32_t timeOut) {
  RunAndWait(program, arguments, timeOut);
}

void clsEXE::RunAndWait(std::string_view program, std::string_view arguments, int32_t timeOut) {
  const double start = WholeSeconds(Host().Clock());
  double deadline = 0;
  bool pastMidnight = false;
  if (timeOut > 0) {
    deadline = start + timeOut;
    if (deadline >= kSecondsPerDay) {
      deadline = start - kSecondsPerDay + timeOut;
      pastMidnight = true;
    }
  }
  std::optional<ChildProcess> child =
      ChildProcess::StartShell(std::string(program) + std::string(arguments));
  if (!child) throw Error(err::kFileNotFound);
  while (!child->Ended()) {
    if (timeOut > 0) {
      const double now = Host().Clock();
      // Before midnight a deadline past midnight looks reached: wait for the clock to wrap.
      if (now >= deadline && !(pastMidnight && now >= start)) break;
    }
    Host().DoEvents();
    child->Wait(-1, kPollMs);
  }
  // A program that finished is left alone; one still running at the deadline is ended.
  if (!child->Ended()) child->Terminate();
}

Variant clsEXE::Invoke(std::string_view member, const Args& args) {
  using Members = MemberTable<clsEXE>;
  static const Members members = {
      {"RedirectDOSEXE",
       [](clsEXE& self, const Args& a) -> Variant {
         ExpectArgs(a, 3);
         self.RedirectDOSEXE(a[0].ToString(), a[1].ToString(), a[2].ToInt32());
         return {};
       }},
      {"Cancel", Members::Method(&clsEXE::Cancel)},
      {"ShellDOSEXE",
       [](clsEXE& self, const Args& a) -> Variant {
         if (a.size() < 2 || a.size() > 4) throw Error(err::kInvalidProcedureCall);
         const bool hasTimeOut = a.size() > 2 && !a[2].IsEmpty();
         const bool hasStyle = a.size() > 3 && !a[3].IsEmpty();
         self.ShellDOSEXE(a[0].ToString(), a[1].ToString(), hasTimeOut ? a[2].ToInt32() : 0,
                          hasStyle ? a[3].ToInt32() : 1);
         return {};
       }},
      {"ShellAndWait",
       [](clsEXE& self, const Args& a) -> Variant {
         ExpectArgs(a, 3);
         self.ShellAndWait(a[0].ToString(), a[1].ToString(), a[2].ToInt32());
         return {};
       }},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale

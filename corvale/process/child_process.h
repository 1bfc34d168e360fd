// A started program, seen from the process runner: its process id, polling for its end, a
// wait that does not spin, and ending it together with everything it started.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace corvale {

class ChildProcess {
 public:
  // Starts argv[0] (a path) with argv in a process group of its own. Standard output and
  // standard error go to `outputFd` when it is not -1 (standard input then reads /dev/null);
  // otherwise the child shares this program's terminal. Returns nothing when it cannot start.
  static std::optional<ChildProcess> Start(const std::vector<std::string>& argv, int outputFd = -1);
  // Starts a command line through /bin/sh -c.
  static std::optional<ChildProcess> StartShell(const std::string& commandLine);
  // Starts a command line through the shell and lets it run on its own: it is never waited
  // for nor ended, and leaves no zombie behind. False when the shell cannot start.
  static bool StartDetached(const std::string& commandLine);

  ChildProcess(ChildProcess&& other) noexcept;
  ChildProcess& operator=(ChildProcess&&) = delete;
  ChildProcess(const ChildProcess&) = delete;
  ~ChildProcess();  // ends a process still running

  pid_t pid() const { return pid_; }
  // True once the process has ended (it is reaped on the first poll that sees it).
  bool Ended();
  // Blocks for at most `ms` milliseconds, or until the process ends or `fd` (when not -1)
  // becomes readable or closed.
  void Wait(int fd, int ms) const;
  // Ends the process group: a termination request, then a hard end for whatever is still
  // running shortly after; the process is reaped.
  void Terminate();

 private:
  explicit ChildProcess(pid_t pid);

  pid_t pid_ = 0;
  int pidFd_ = -1;  // readable when the process ends; -1 where the kernel has none
  bool ended_ = false;
};

// A pipe whose read end is non-blocking and whose ends are closed when it goes.
class OutputPipe {
 public:
  OutputPipe() = default;
  OutputPipe(const OutputPipe&) = delete;
  OutputPipe& operator=(const OutputPipe&) = delete;
  ~OutputPipe();

  bool Open();
  int readFd() const { return fds_[0]; }
  int writeFd() const { return fds_[1]; }
  void CloseWriteEnd();
  // Up to `limit` bytes that wait in the pipe, without blocking. Empty when none wait; `closed`
  // tells whether every writer has gone.
  std::string ReadSome(size_t limit, bool& closed);

 private:
  int fds_[2] = {-1, -1};
};

}  // namespace corvale

#include "corvale/process/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>

extern char** environ;

namespace corvale {
namespace {

// How long a terminated group may take to leave before it is ended hard.
constexpr int kTerminateGraceMs = 300;

int OpenPidFd(pid_t pid) {
#ifdef SYS_pidfd_open
  const long fd = syscall(SYS_pidfd_open, pid, 0);
  return fd < 0 ? -1 : static_cast<int>(fd);
#else
  (void)pid;
  return -1;
#endif
}

class SpawnSetup {
 public:
  SpawnSetup() {
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attributes);
  }
  ~SpawnSetup() {
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
  }
  SpawnSetup(const SpawnSetup&) = delete;
  SpawnSetup& operator=(const SpawnSetup&) = delete;

  posix_spawn_file_actions_t actions;
  posix_spawnattr_t attributes;
};

}  // namespace

ChildProcess::ChildProcess(pid_t pid) : pid_(pid), pidFd_(OpenPidFd(pid)) {}

ChildProcess::ChildProcess(ChildProcess&& other) noexcept
    : pid_(other.pid_), pidFd_(other.pidFd_), ended_(other.ended_) {
  other.pid_ = 0;
  other.pidFd_ = -1;
  other.ended_ = true;
}

ChildProcess::~ChildProcess() {
  if (pid_ > 0 && !ended_) Terminate();
  if (pidFd_ >= 0) close(pidFd_);
}

std::optional<ChildProcess> ChildProcess::Start(const std::vector<std::string>& argv,
                                                int outputFd) {
  if (argv.empty()) return std::nullopt;
  SpawnSetup setup;
  // A group of its own, so that ending it ends what it started as well.
  posix_spawnattr_setflags(&setup.attributes, POSIX_SPAWN_SETPGROUP);
  posix_spawnattr_setpgroup(&setup.attributes, 0);
  if (outputFd >= 0) {
    posix_spawn_file_actions_addopen(&setup.actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&setup.actions, outputFd, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&setup.actions, outputFd, STDERR_FILENO);
  }
  std::vector<char*> args;
  for (const std::string& arg : argv) args.push_back(const_cast<char*>(arg.c_str()));
  args.push_back(nullptr);
  pid_t pid = 0;
  if (posix_spawn(&pid, args[0], &setup.actions, &setup.attributes, args.data(), environ) != 0)
    return std::nullopt;
  return ChildProcess(pid);
}

std::optional<ChildProcess> ChildProcess::StartShell(const std::string& commandLine) {
  return Start({"/bin/sh", "-c", commandLine});
}

bool ChildProcess::StartDetached(const std::string& commandLine) {
  // The shell puts the command in the background and ends at once; once it is reaped, the
  // command belongs to init, which reaps it in turn.
  std::optional<ChildProcess> shell =
      Start({"/bin/sh", "-c", "eval \"$1\" >/dev/null 2>&1 &", "sh", commandLine});
  if (!shell) return false;
  while (!shell->Ended()) shell->Wait(-1, 50);
  return true;
}

bool ChildProcess::Ended() {
  if (ended_ || pid_ <= 0) return true;
  int status = 0;
  const pid_t result = waitpid(pid_, &status, WNOHANG);
  if (result == pid_ || (result < 0 && errno == ECHILD)) ended_ = true;
  return ended_;
}

void ChildProcess::Wait(int fd, int ms) const {
  pollfd fds[2] = {{fd, POLLIN, 0}, {ended_ ? -1 : pidFd_, POLLIN, 0}};
  poll(fds, 2, ms);  // negative descriptors are skipped; with none it only sleeps
}

void ChildProcess::Terminate() {
  if (pid_ <= 0 || Ended()) return;
  kill(-pid_, SIGTERM);
  const auto giveUp =
      std::chrono::steady_clock::now() + std::chrono::milliseconds(kTerminateGraceMs);
  while (!Ended() && std::chrono::steady_clock::now() < giveUp) Wait(-1, 10);
  kill(-pid_, SIGKILL);  // whatever is left of the group, the leader included
  if (!ended_) {
    int status = 0;
    while (waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
    ended_ = true;
  }
}

OutputPipe::~OutputPipe() {
  for (int fd : fds_)
    if (fd >= 0) close(fd);
}

bool OutputPipe::Open() {
  if (pipe2(fds_, O_CLOEXEC) != 0) {
    fds_[0] = fds_[1] = -1;
    return false;
  }
  fcntl(fds_[0], F_SETFL, fcntl(fds_[0], F_GETFL) | O_NONBLOCK);
  return true;
}

void OutputPipe::CloseWriteEnd() {
  if (fds_[1] >= 0) close(fds_[1]);
  fds_[1] = -1;
}

std::string OutputPipe::ReadSome(size_t limit, bool& closed) {
  std::string bytes(limit, '\0');
  ssize_t count = -1;
  do {
    count = read(fds_[0], bytes.data(), limit);
  } while (count < 0 && errno == EINTR);
  closed = count == 0 || (count < 0 && errno != EAGAIN && errno != EWOULDBLOCK);
  bytes.resize(count > 0 ? static_cast<size_t>(count) : 0);
  return bytes;
}

}  // namespace corvale

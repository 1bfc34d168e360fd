// corvale-stub COMMAND... LIMIT_MS
//
// The capture stub of the process runner: runs COMMAND (the arguments before the last, joined
// by blanks) through /bin/sh -c with this program's standard input, output and error, and ends
// it with everything it started once LIMIT_MS milliseconds have passed (0 or less: no limit).
// Exits with the command's status, 128 + the signal that ended it, or 124 at the limit.
// A termination request to the stub, or the end of the program that started it, ends the
// command as well.
#include <signal.h>
#include <sys/prctl.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

constexpr int kLimitReached = 124;

volatile sig_atomic_t commandGroup = 0;
volatile sig_atomic_t limitReached = 0;

void EndCommand() {
  if (commandGroup > 0) kill(-commandGroup, SIGKILL);
}

void OnLimit(int) {
  limitReached = 1;
  EndCommand();
}

void OnTermination(int signal) {
  EndCommand();
  _exit(128 + signal);
}

void Handle(int signal, void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  sigemptyset(&action.sa_mask);
  sigaction(signal, &action, nullptr);
}

}  // namespace

int main(int argc, char** argv) {
  char* end = nullptr;
  const long limit = argc >= 2 ? std::strtol(argv[argc - 1], &end, 10) : 0;
  if (argc < 2 || end == argv[argc - 1] || *end != '\0') {
    std::fprintf(stderr, "usage: corvale-stub COMMAND... LIMIT_MS\n");
    return 2;
  }
  std::string command;
  for (int i = 1; i < argc - 1; ++i) command += (i > 1 ? " " : "") + std::string(argv[i]);

  for (int signal : {SIGTERM, SIGINT, SIGHUP}) Handle(signal, OnTermination);
  // A runner that dies (a host killed, a terminal closed) takes the command with it.
  const pid_t runner = getppid();
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (getppid() != runner) return 126;
  Handle(SIGALRM, OnLimit);
  const pid_t child = fork();
  if (child < 0) {
    std::perror("corvale-stub");
    return 126;
  }
  if (child == 0) {
    // A group of its own, so that the limit ends whatever the command starts.
    setpgid(0, 0);
    execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char*>(nullptr));
    _exit(127);
  }
  setpgid(child, child);  // also here: the limit may come before the child has run
  commandGroup = child;

  if (limit > 0) {
    itimerval timer{};
    timer.it_value.tv_sec = limit / 1000;
    timer.it_value.tv_usec = (limit % 1000) * 1000;
    setitimer(ITIMER_REAL, &timer, nullptr);
  }
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) return 126;
  }
  if (limitReached) return kLimitReached;
  if (WIFSIGNALED(status)) return 128 + WTERMSIG(status);
  return WEXITSTATUS(status);
}

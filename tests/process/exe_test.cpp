// The process runner: output from the start marker on, in order and complete; the idle time-out;
// the deadline rules on a replaced clock; the title check before anything runs; the stub.
#include "corvale/process/exe.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "corvale/core/registry.h"
#include "corvale/process/child_process.h"
#include "tests/support/test_support.h"

namespace {

using corvale::clsEXE;
using corvale::ScopedHostServices;
using corvale::test::ErrorOf;
using corvale::test::ReadFile;
using corvale::test::TempDir;

// Finds the stub where the build put it; the clock is real unless `fake`, and then moves on by
// `step` seconds at every event-processing call, wrapping at midnight.
class ProcessHost : public corvale::HostServices {
 public:
  bool fake = false;
  double clock = 0, step = 1;
  int events = 0;

  std::string LibraryFolder() override {
    return std::filesystem::path(CORVALE_STUB_PATH).parent_path().string();
  }
  double Clock() override { return fake ? clock : HostServices::Clock(); }
  void DoEvents() override {
    ++events;
    if (fake) clock = std::fmod(clock + step, 86400);
  }
};

struct Recorder : corvale::ProcessListener {
  std::vector<std::string> pieces;
  std::function<void()> onPiece;
  void RedirOutput(std::string_view text) override {
    pieces.emplace_back(text);
    if (onPiece) onPiece();
  }
  std::string Joined() const {
    std::string all;
    for (const std::string& piece : pieces) all += piece;
    return all;
  }
};

struct Session {
  std::shared_ptr<ProcessHost> host = std::make_shared<ProcessHost>();
  ScopedHostServices scope{host};
  std::shared_ptr<Recorder> output = std::make_shared<Recorder>();
  clsEXE exe;
  Session() { exe.Listener(output); }
};

// Whether a process is gone (or only waits to be reaped by whoever adopted it); a signal takes
// a moment to land, so this looks for a second at most.
bool Ended(const std::string& pidFile) {
  const std::string pid = ReadFile(pidFile);
  if (pid.empty()) return false;
  for (int look = 0; look < 100; ++look) {
    std::ifstream stat("/proc/" + pid.substr(0, pid.find('\n')) + "/stat");
    std::string line;
    if (!std::getline(stat, line) || line.substr(line.rfind(')') + 2, 1) == "Z") return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

TEST(RedirectDOSEXE, PassesOutputFromTheMarkerOnInOrderAndWhole) {
  Session run;
  // The marker arrives in two reads; what came before it is never passed on; standard output
  // and standard error keep their order.
  run.exe.RedirectDOSEXE(
      "printf 'noise sta'; sleep 0.2; printf 'RT one\\n'; printf 'two\\n' >&2; printf three",
      "Start", 0);
  EXPECT_EQ(run.output->Joined(), "staRT one\ntwo\nthree");
  ASSERT_FALSE(run.output->pieces.empty());
  EXPECT_EQ(run.output->pieces[0].substr(0, 5), "staRT");

  // A marker cut by the 256-byte read limit is found too.
  Session cut;
  cut.exe.RedirectDOSEXE("printf '%0254d' 0; printf 'MARKtail'", "mark", 0);
  EXPECT_EQ(cut.output->Joined(), "MARKtail");

  // No marker passes everything, in pieces of at most 256 bytes; output written just before
  // the end is not lost, though the process has ended when it is read.
  Session bulk;
  bulk.exe.RedirectDOSEXE("head -c 60000 /dev/zero | tr '\\0' x; echo END", "", 0);
  const std::string all = bulk.output->Joined();
  EXPECT_EQ(all.size(), 60004u);
  EXPECT_EQ(all.substr(all.size() - 4), "END\n");
  for (const std::string& piece : bulk.output->pieces) EXPECT_LE(piece.size(), 256u);

  // A marker that never comes passes nothing.
  Session never;
  never.exe.RedirectDOSEXE("echo compiling; echo done", "BEGIN", 0);
  EXPECT_TRUE(never.output->pieces.empty());
}

TEST(RedirectDOSEXE, CreatedByNameAndCancelChangesNothing) {
  Session run;
  auto exe = std::dynamic_pointer_cast<clsEXE>(corvale::CreateObject("Corvale2.clsEXE"));
  ASSERT_TRUE(exe);
  exe->Listener(run.output);
  run.output->onPiece = [&] { exe->Invoke("Cancel"); };
  exe->Invoke("RedirectDOSEXE", {"printf one; sleep 0.1; printf two", "", 0});
  EXPECT_EQ(run.output->Joined(), "onetwo");
  EXPECT_EQ(ErrorOf([&] { exe->Invoke("RedirectDOSEXE", {"true", ""}); }), 5);
}

TEST(RedirectDOSEXE, IdleTimeOutEndsTheProcessAndZeroNeverDoes) {
  const std::string pidFile = TempDir() + "/idle.pid";
  Session run;
  run.host->fake = true;
  run.host->clock = 1000.5;
  run.host->step = 0;  // the clock stands still until the output, however slow the start
  run.output->onPiece = [&] { run.host->step = 1; };
  run.exe.RedirectDOSEXE("echo $$ > '" + pidFile + "'; printf 'go\\n'; exec sleep 5", "", 3);
  ASSERT_EQ(run.output->pieces.size(), 2u) << run.output->Joined();
  EXPECT_EQ(run.output->pieces[0], "go\n");
  EXPECT_EQ(run.output->pieces[1], "Timeout!\r\nProcess failed");
  EXPECT_TRUE(Ended(pidFile));
  // The limit counts from the last output in whole seconds (1000): three idle seconds later.
  EXPECT_EQ(run.host->clock, 1003.5);

  Session patient;
  patient.host->fake = true;
  patient.host->step = 10000;
  patient.exe.RedirectDOSEXE("sleep 0.3; echo done", "", 0);
  EXPECT_EQ(patient.output->Joined(), "done\n");

  // The stub gets the limit one second shorter, in milliseconds; one that overflows is an
  // error before anything starts.
  const std::string stub = "\"" + run.host->LibraryFolder() + "/corvale-stub\" ";
  EXPECT_EQ(corvale::StubCommandLine("make all", 5), stub + "make all 4000");
  EXPECT_EQ(corvale::StubCommandLine("make", 0), stub + "make -1000");
  EXPECT_EQ(corvale::StubCommandLine("make", 2147484), stub + "make 2147483000");
  EXPECT_EQ(ErrorOf([] { corvale::StubCommandLine("make", 2147485); }), 6);
  EXPECT_EQ(ErrorOf([&] { run.exe.RedirectDOSEXE("touch never", "", -2147483647); }), 6);
}

TEST(ShellAndWait, DeadlineWaitsForMidnightAndEndsTheProcess) {
  const std::string pidFile = TempDir() + "/midnight.pid";
  Session run;
  run.host->fake = true;
  run.host->clock = 86390;
  run.exe.ShellAndWait("echo $$ > '" + pidFile + "'; exec sleep", " 5", 20);
  EXPECT_EQ(run.host->clock, 10);  // ten seconds past midnight, not at once
  EXPECT_EQ(run.host->events, 20);
  EXPECT_TRUE(Ended(pidFile));

  Session early;
  early.host->fake = true;
  early.host->clock = 100;
  early.exe.ShellAndWait("sleep", " 5", 3);
  EXPECT_EQ(early.host->events, 3);

  // A program that ends is waited for, whatever its exit code; missing arguments of
  // ShellDOSEXE mean no time-out.
  const std::string done = TempDir() + "/done";
  Session waits;
  waits.exe.Invoke("ShellDOSEXE", {"sleep 0.1; echo done > '" + done + "'; exit 3", ""});
  EXPECT_EQ(ReadFile(done), "done\n");
}

TEST(ShellDOSEXE, TitleFailureIsRaisedBeforeAnythingRuns) {
  const std::string marker = TempDir() + "/ran";
  Session run;
  EXPECT_EQ(ErrorOf([&] { run.exe.ShellDOSEXE("touch '" + marker + "'; echo Cmd.Exe", "", 1); }),
            5);
  EXPECT_EQ(ErrorOf([&] { run.exe.ShellDOSEXE("CMD.EXE", " /C C:\\TOOLS\\ASM.EXE", 1); }), 5);
  EXPECT_FALSE(std::filesystem::exists(marker));
  EXPECT_EQ(run.host->events, 0);

  EXPECT_EQ(corvale::ProgramTitle("CMD.EXE /C C:\\TOOLS\\ASM.EXE X.SRC"), "ASM");
  // The character before the blank is dropped: harmless with an extension, not without.
  EXPECT_EQ(corvale::ProgramTitle("command.com /c d:\\bin\\link x"), "LIN");
  EXPECT_EQ(corvale::ProgramTitle("C:\\TOOLS\\asm.exe"), "ASM");
  EXPECT_EQ(corvale::ProgramTitle("/usr/bin/make"), "MAKE");
}

TEST(ChildProcess, DetachedProgramRunsOnAfterTheCallReturns) {
  const std::string pidFile = TempDir() + "/detached.pid";
  const std::string done = TempDir() + "/detached.done";
  const auto start = std::chrono::steady_clock::now();
  ASSERT_TRUE(corvale::ChildProcess::StartDetached("echo $$ > '" + pidFile +
                                                   "'; sleep 0.5; echo done > '" + done + "'"));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(400));
  for (int look = 0; look < 300 && ReadFile(done).empty(); ++look)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  EXPECT_EQ(ReadFile(done), "done\n");
  EXPECT_TRUE(Ended(pidFile));  // and nothing is left waiting for this process to reap it
}

TEST(CaptureStub, RunsTheCommandAndEndsItAtTheLimit) {
  const std::string out = TempDir() + "/stub.out";
  auto stub = [&](const std::string& args) {
    const int raw = std::system(
        ("'" + std::string(CORVALE_STUB_PATH) + "' " + args + " >'" + out + "' 2>&1 </dev/null")
            .c_str());
    return WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  };
  EXPECT_EQ(stub("'printf early; sleep 3; printf late' 200"), 124);
  EXPECT_EQ(ReadFile(out), "early");
  // The words before the limit form one command; 0 means no limit; the status is the command's.
  EXPECT_EQ(stub("printf '%s-' a 'b; exit 7' 0"), 7);
  EXPECT_EQ(ReadFile(out), "a-b-");
  EXPECT_EQ(stub("true"), 2);  // no limit given
}

}  // namespace

// Saves under faults: full and read-only file systems, hostile targets, processes killed in
// the middle of a save, and several processes writing the same file at once.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "corvale/core/atomic_file.h"
#include "corvale/core/error.h"
#include "corvale/core/settings_store.h"
#include "corvale/libraries/register_library.h"
#include "corvale/libraries/xml_instruments.h"
#include "corvale/xml/xml.h"
#include "tests/support/test_support.h"

namespace corvale {
namespace {

namespace fs = std::filesystem;
using namespace corvale::test;

// The names in a folder other than lock files: what a save may leave behind.
std::vector<std::string> FilesIn(const std::string& folder) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder)) {
    const std::string name = entry.path().filename().string();
    if (!name.ends_with(".lock")) names.push_back(name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

// Runs body in a child process; its result is the child's exit status.
pid_t Spawn(const std::function<int()>& body) {
  const pid_t pid = fork();
  if (pid == 0) {
    int status = 1;
    try {
      status = body();
    } catch (...) {
    }
    _exit(status);
  }
  return pid;
}

int Wait(pid_t pid) {
  int status = 0;
  if (waitpid(pid, &status, 0) != pid) return -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

pid_t SpawnCli(const std::vector<std::string>& args, const std::string& config) {
  return Spawn([&] {
    std::vector<char*> argv{const_cast<char*>(CORVALE_CLI_PATH)};
    for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);
    setenv("XDG_CONFIG_HOME", config.c_str(), 1);
    if (!freopen("/dev/null", "w", stdout) || !freopen("/dev/null", "w", stderr)) return 1;
    execv(CORVALE_CLI_PATH, argv.data());
    return 127;
  });
}

// One instrument for each letter, the letter its catalogue code.
std::string Instruments(const std::string& codes) {
  std::string text;
  for (char code : codes) {
    text +=
        std::string("<INSTRUMENT><CATCODE>") + code + "</CATCODE><VERSION>1</VERSION></INSTRUMENT>";
  }
  return text;
}

std::string Library(const std::string& codes) {
  return "<?xml version = \"1.0\" encoding=\"windows-1252\"?>\n<PennardInstrumentLibrary>" +
         Instruments(codes) + "</PennardInstrumentLibrary>\n";
}

// A file system that fills up: a small tmpfs, which only root may mount.
class SmallFileSystem {
 public:
  explicit SmallFileSystem(const std::string& folder) : folder_(folder) {
    mounted_ =
        geteuid() == 0 && mount("tmpfs", folder.c_str(), "tmpfs", 0, "size=96k,mode=0755") == 0;
  }
  ~SmallFileSystem() {
    if (mounted_) umount2(folder_.c_str(), MNT_DETACH);
  }
  bool Mounted() const { return mounted_; }

 private:
  std::string folder_;
  bool mounted_ = false;
};

TEST(Faults, FullFileSystemKeepsTheOldFileAndReportsTheFailure) {
  const std::string folder = FreshFolder("full");
  SmallFileSystem small(folder);
  if (!small.Mounted()) GTEST_SKIP() << "a full file system needs root to mount a small tmpfs";

  const std::string target = WriteFile(folder + "/library.xml", Library("AB"));
  std::string description;
  EXPECT_EQ(ErrorOf([&] { ReplaceFile(target, std::string(200 * 1024, 'x')); }, &description),
            err::kPathFileAccess);
  EXPECT_TRUE(Contains(description, target) && Contains(description, "No space left"))
      << description;
  EXPECT_EQ(ReadFile(target), Library("AB"));
  EXPECT_EQ(FilesIn(folder), std::vector<std::string>{"library.xml"});

  // The settings store on a full disk: the register fails, says so, and the list stays.
  const std::string config = folder + "/config";
  setenv("XDG_CONFIG_HOME", config.c_str(), 1);
  clsRegisterLibrary::AddToStartupList("Full", "Startup", "first.xml");
  clsRegisterLibrary::AddToStartupList("Full", "Startup", "second.xml");
  const std::string ini = ReadFile(SettingsStore::PathFor("Full"));
  {
    std::ofstream filler(folder + "/filler", std::ios::binary);
    const std::string block(4096, 'f');
    while (filler.write(block.data(), block.size()) && filler.flush()) {
    }
  }
  EXPECT_EQ(ErrorOf([] { clsRegisterLibrary::AddToStartupList("Full", "Startup", "third.xml"); }),
            err::kPathFileAccess);
  EXPECT_EQ(ReadFile(SettingsStore::PathFor("Full")), ini);
  const pid_t cli = SpawnCli({"library", "register", "Full", "Startup", "third.xml"}, config);
  EXPECT_EQ(Wait(cli), 1);
  EXPECT_EQ(ReadFile(SettingsStore::PathFor("Full")), ini);
  EXPECT_EQ(FilesIn(config + "/corvale"), std::vector<std::string>{"Full.ini"});
  unsetenv("XDG_CONFIG_HOME");
}

TEST(Faults, HostileTargetsAreFollowedKeptOrRefused) {
  const std::string folder = FreshFolder("hostile");
  // A symbolic link (relative, through a second link) is followed; the real file is replaced.
  const std::string real = WriteFile(folder + "/real.xml", "old");
  fs::create_symlink("real.xml", folder + "/hop.xml");
  fs::create_symlink(folder + "/hop.xml", folder + "/link.xml");
  ReplaceFile(folder + "/link.xml", "new");
  EXPECT_TRUE(fs::is_symlink(folder + "/link.xml") && fs::is_symlink(folder + "/hop.xml"));
  EXPECT_EQ(ReadFile(real), "new");

  // Permissions, and the owner and group when root, stay those of the old file.
  fs::permissions(real, fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
  const bool root = geteuid() == 0;
  if (root) {
    ASSERT_EQ(chown(real.c_str(), 1234, 5678), 0);
  }
  ReplaceFile(real, "newer");
  struct stat st;
  ASSERT_EQ(stat(real.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0640u);
  if (root) {
    EXPECT_EQ(std::to_string(st.st_uid) + ":" + std::to_string(st.st_gid), "1234:5678");
  }

  // A file the user may not write is refused with error 70 naming it, and left as it was.
  fs::permissions(real, fs::perms::owner_read | fs::perms::group_read);
  std::string description;
  EXPECT_EQ(ErrorOf([&] { ReplaceFile(folder + "/link.xml", "lost"); }, &description),
            err::kPermissionDenied);
  EXPECT_TRUE(Contains(description, "Permission denied") && Contains(description, "link.xml"))
      << description;
  EXPECT_EQ(ReadFile(real), "newer");

  // A folder the user may not write: by its permissions, or for root (whom they do not bind)
  // on a file system mounted read-only. Saves and registers there fail and change nothing.
  const std::string locked = FreshFolder("hostile-readonly");
  SmallFileSystem readOnly(locked);
  const std::string inLocked = WriteFile(locked + "/library.xml", Library("A"));
  const std::string config = locked + "/config";
  setenv("XDG_CONFIG_HOME", config.c_str(), 1);
  clsRegisterLibrary::AddToStartupList("Locked", "Startup", "first.xml");
  unsetenv("XDG_CONFIG_HOME");
  const std::string ini = ReadFile(config + "/corvale/Locked.ini");
  const auto readable = fs::perms::owner_read | fs::perms::owner_exec;
  fs::permissions(locked, readable);
  fs::permissions(config + "/corvale", readable);
  if (readOnly.Mounted()) {
    ASSERT_EQ(mount(nullptr, locked.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
  }
  if (geteuid() != 0 || readOnly.Mounted()) {
    xml::Document document = xml::Document::create();
    ASSERT_TRUE(document.load(inLocked));
    EXPECT_EQ(ErrorOf([&] { document.save(inLocked); }), err::kPermissionDenied);
    EXPECT_EQ(ReadFile(inLocked), Library("A"));
    EXPECT_EQ(Wait(SpawnCli({"library", "register", "Locked", "Startup", "b.xml"}, config)), 1);
    EXPECT_EQ(ReadFile(config + "/corvale/Locked.ini"), ini);
  }
  if (!readOnly.Mounted()) {
    fs::permissions(config + "/corvale", fs::perms::owner_all);
    fs::permissions(locked, fs::perms::owner_all);
  }
  EXPECT_EQ(ErrorOf([&] { ReplaceFile(folder, "x"); }), err::kPathFileAccess);
}

TEST(Faults, ASaveOverAFileChangedSinceItWasReadIsRefused) {
  const std::string path = WriteFile(FreshFolder("changed") + "/library.xml", Library("AB"));
  XMLInstruments library;
  ASSERT_TRUE(library.Load(path));
  library.Save("");  // unchanged on disk: saved, and the saved file is the one now known
  library.Remove("A");
  library.Save("");
  EXPECT_EQ(library.Count(), 1);

  // Another writer replaces the file with one of the same size and time: another file still.
  struct stat before;
  ASSERT_EQ(stat(path.c_str(), &before), 0);
  const std::string other = ReadFile(path);
  const std::string replacement = WriteFile(path + ".other", other);
  const timespec times[2] = {before.st_atim, before.st_mtim};
  ASSERT_EQ(utimensat(AT_FDCWD, replacement.c_str(), times, 0), 0);
  fs::rename(replacement, path);

  library.Remove("B");
  std::string description;
  EXPECT_EQ(ErrorOf([&] { library.Save(""); }, &description), err::kFileChanged);
  EXPECT_TRUE(Contains(description, path)) << description;
  EXPECT_EQ(ReadFile(path), other);
  // Appending in place changes the size.
  WriteFile(path, other + "\n");
  EXPECT_EQ(ErrorOf([&] { library.Save(""); }), err::kFileChanged);

  // Asked to, the save overwrites the change.
  library.OverwriteChangedFile(true);
  EXPECT_EQ(ErrorOf([&] { library.Save(""); }), 0);
  XMLInstruments reread;
  ASSERT_TRUE(reread.Load(path));
  EXPECT_EQ(reread.Count(), 0);
}

TEST(Faults, AKilledSaveLeavesTheOldOrTheNewFileAndNothingAfterTheNextSave) {
  const std::string folder = FreshFolder("killed");
  const std::string target = folder + "/big.xml";
  std::string oldBytes = Library(std::string(20000, 'O')), newBytes;
  for (int i = 0; i < 60000; ++i) newBytes += "<ITEM>" + std::to_string(i) + "</ITEM>\n";
  newBytes = "<?xml version=\"1.0\"?>\n<BIG>\n" + newBytes + "</BIG>\n";
  WriteFile(target, oldBytes);

  const auto started = std::chrono::steady_clock::now();
  ReplaceFile(target, oldBytes);
  ReplaceFile(target, newBytes);
  ReplaceFile(target, oldBytes);
  const auto saveTime = (std::chrono::steady_clock::now() - started) / 3;

  // The child says when it starts saving, so that the kill lands within its saves.
  std::mt19937 random(20261124);
  std::uniform_int_distribution<int> percent(0, 200);
  for (int round = 0; round < 24; ++round) {
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t child = Spawn([&] {
      close(ready[0]);
      if (write(ready[1], "!", 1) != 1) return 1;
      for (;;) {
        ReplaceFile(target, newBytes);
        ReplaceFile(target, oldBytes);
      }
      return 0;
    });
    close(ready[1]);
    char signal = 0;
    ASSERT_EQ(read(ready[0], &signal, 1), 1);
    close(ready[0]);
    std::this_thread::sleep_for(saveTime * percent(random) / 100);
    kill(child, SIGKILL);
    ASSERT_EQ(Wait(child), 128 + SIGKILL);
    const std::string now = ReadFile(target);
    ASSERT_TRUE(now == oldBytes || now == newBytes) << "round " << round << ": " << now.size();
    ReplaceFile(target, oldBytes);
    ASSERT_EQ(FilesIn(folder), std::vector<std::string>{"big.xml"}) << "round " << round;
  }
  // A named temporary survives its writer only until the next save of the same target; one
  // whose writer is alive is left alone.
  const pid_t gone = Spawn([] { return 0; });
  Wait(gone);
  const std::string stale = ".big.xml.corvale-" + std::to_string(gone) + "-1-1.tmp";
  const std::string live = ".big.xml.corvale-" + std::to_string(getppid()) + "-1-1.tmp";
  WriteFile(folder + "/" + stale, "half");
  WriteFile(folder + "/" + live, "busy");
  ReplaceFile(target, newBytes);
  EXPECT_EQ(FilesIn(folder), (std::vector<std::string>{live, "big.xml"}));
}

TEST(Faults, ConcurrentRegistersAndMergesLoseNothing) {
  const std::string config = FreshFolder("concurrent-config");
  setenv("XDG_CONFIG_HOME", config.c_str(), 1);
  std::vector<pid_t> children;
  for (int i = 1; i <= 20; ++i) {
    children.push_back(Spawn([i] {
      clsRegisterLibrary::AddToStartupList("Conc", "Startup", "lib" + std::to_string(i) + ".xml");
      return 0;
    }));
  }
  for (pid_t child : children) EXPECT_EQ(Wait(child), 0);
  std::vector<std::string> list = clsRegisterLibrary::StartupList("Conc", "Startup");
  std::sort(list.begin(), list.end());
  EXPECT_EQ(list.size(), 20u);
  EXPECT_TRUE(std::unique(list.begin(), list.end()) == list.end());
  unsetenv("XDG_CONFIG_HOME");

  // Merges into one library from two modules at once, a few times over: each keeps the
  // other's instruments.
  const std::string folder = FreshFolder("concurrent-merge");
  const std::string target = WriteFile(folder + "/library.xml", Library("L"));
  std::string expected = "L";
  char next = 'M';
  for (int round = 0; round < 3; ++round) {
    std::vector<pid_t> merges;
    for (const char* module : {"a", "b"}) {
      const std::string codes{next, static_cast<char>(next + 1)};
      next = static_cast<char>(next + 2);
      expected += codes;
      const std::string mergeFile =
          WriteFile(folder + "/" + module + std::to_string(round) + ".xml",
                    "<?xml version=\"1.0\"?>\n<MERGEINSTRUMENTS><TARGET>Module.Target</TARGET>" +
                        Instruments(codes) + "</MERGEINSTRUMENTS>\n");
      merges.push_back(SpawnCli({"merge", mergeFile, "--target-file", target, "--yes"}, config));
    }
    for (pid_t merge : merges) EXPECT_EQ(Wait(merge), 0);
  }
  XMLInstruments library;
  ASSERT_TRUE(library.Load(target));
  std::string codes;
  for (int16_t i = 1; i <= library.Count(); ++i) codes += library.Item(i)->CatCode();
  std::sort(codes.begin(), codes.end());
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(codes, expected);
}

}  // namespace
}  // namespace corvale

#include "corvale/core/host.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "corvale/core/error.h"
#include "corvale/core/settings_store.h"
#include "tests/core/scoped_env.h"
#include "tests/support/test_support.h"

namespace corvale {
namespace {

namespace fs = std::filesystem;
using test::ErrorOf;
using test::ReadFile;
using test::ScopedEnv;
using test::TempDir;
using test::WriteFile;

// A fresh configuration folder per test, so stores never see each other's files.
std::string FreshConfig(const std::string& name) { return test::FreshFolder(name); }

std::vector<std::string> FilesIn(const std::string& folder) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

TEST(SettingsStore, WritesReadsBackAndDeletesSections) {
  const std::string config = FreshConfig("settings-rw");
  ScopedEnv xdg("XDG_CONFIG_HOME", config);
  HostServices& host = Host();

  EXPECT_EQ(host.GetSetting("Logger Studio", "Libraries", "COUNT", "0"), "0");
  host.SaveSetting("Logger Studio", "Libraries", "COUNT", "2");
  host.SaveSetting("Logger Studio", "Libraries", "LIB1", R"(C:\LIB\SITE.XML)");
  host.SaveSetting("Logger Studio", "Window", "Title", "  two\nlines = \"quoted\"\t");

  // Keys and sections compare without regard to case; a later write replaces the value.
  EXPECT_EQ(host.GetSetting("Logger Studio", "libraries", "count", "0"), "2");
  host.SaveSetting("Logger Studio", "LIBRARIES", "Count", "3");
  EXPECT_EQ(host.GetSetting("Logger Studio", "Libraries", "COUNT", "0"), "3");

  // A new store object reads the same values from the file, odd characters included.
  const std::string path = config + "/corvale/Logger Studio.ini";
  EXPECT_EQ(SettingsStore::PathFor("Logger Studio"), path);
  SettingsStore reread(path);
  EXPECT_FALSE(reread.Broken());
  EXPECT_EQ(reread.Get("Libraries", "LIB1", ""), R"(C:\LIB\SITE.XML)");
  EXPECT_EQ(reread.Get("window", "TITLE", ""), "  two\nlines = \"quoted\"\t");
  EXPECT_EQ(reread.Get("Libraries", "LIB3", "none"), "none");
  // Paths stay readable in the file; only values that need it are quoted.
  EXPECT_NE(ReadFile(path).find("LIB1=C:\\LIB\\SITE.XML\n"), std::string::npos);

  host.DeleteSetting("Logger Studio", "LIBRARIES");
  EXPECT_EQ(host.GetSetting("Logger Studio", "Libraries", "LIB1", ""), "");
  EXPECT_EQ(host.GetSetting("Logger Studio", "Window", "Title", ""), "  two\nlines = \"quoted\"\t");
  EXPECT_NO_THROW(host.DeleteSetting("Logger Studio", "Never written"));

  // Atomic writes leave the one file and its lock file, and no temporaries beside them.
  EXPECT_EQ(FilesIn(config + "/corvale"),
            (std::vector<std::string>{".Logger Studio.ini.lock", "Logger Studio.ini"}));

  // Every application has its own file, named safely.
  host.SaveSetting("../Acme/Logger:1", "S", "K", "v");
  EXPECT_EQ(SettingsStore::FileNameFor("../Acme/Logger:1"), "_.._Acme_Logger_1");
  EXPECT_TRUE(fs::exists(config + "/corvale/_.._Acme_Logger_1.ini"));
  EXPECT_EQ(host.GetSetting("../Acme/Logger:1", "S", "K", ""), "v");
  EXPECT_EQ(host.GetSetting("Logger Studio", "S", "K", ""), "");

  // Names the file cannot hold are refused instead of corrupting it.
  EXPECT_EQ(ErrorOf([&] { host.SaveSetting("Logger Studio", "Libraries", "LIB=1", "x"); }),
            err::kInvalidProcedureCall);
  EXPECT_THROW(host.SaveSetting("Logger Studio", "Bad]Section", "K", "x"), Error);
}

TEST(SettingsStore, OddLinesAreKeptAndBrokenFilesSetAside) {
  const std::string config = FreshConfig("settings-broken");
  ScopedEnv xdg("XDG_CONFIG_HOME", config);
  HostServices& host = Host();
  const std::string folder = config + "/corvale";

  // A file written by hand: comments, blanks round "=", CR LF line ends, keys before any
  // section.
  WriteFile(folder + "/Hand.ini",
            "; written by hand\r\nTop = level\r\n\r\n[ Startup ]\r\n# list\r\n"
            "COUNT = 1\r\nLIB1 = A.XML\r\nLIB1 = ignored\r\n");
  EXPECT_EQ(host.GetSetting("Hand", "Startup", "COUNT", "0"), "1");
  EXPECT_EQ(host.GetSetting("Hand", "startup", "lib1", ""), "A.XML");
  EXPECT_EQ(host.GetSetting("Hand", "", "TOP", ""), "level");

  // Lines that are no settings are skipped, and kept in the file through later writes,
  // even when their section is rewritten.
  WriteFile(folder + "/Odd.ini",
            "[A]\nnonsense\nK=v\nQ=\"unterminated\n[B\nL=w\n=nokey\n[C]\nM=x\n");
  EXPECT_EQ(host.GetSetting("Odd", "A", "K", ""), "v");
  EXPECT_EQ(host.GetSetting("Odd", "A", "L", ""), "w");  // "[B" is a kept line, not a header
  EXPECT_EQ(host.GetSetting("Odd", "C", "M", ""), "x");
  EXPECT_EQ(host.GetSetting("Odd", "A", "", "default"), "default");
  EXPECT_FALSE(SettingsStore(folder + "/Odd.ini").Broken());
  host.DeleteSetting("Odd", "A");
  host.SaveSetting("Odd", "A", "K", "new");
  EXPECT_EQ(ReadFile(folder + "/Odd.ini"),
            "[A]\nnonsense\nQ=\"unterminated\n[B\n=nokey\nK=new\n\n[C]\nM=x\n");

  // A file holding NUL bytes is no settings file: it reads as empty, and every write over
  // such a file first keeps it aside under a new number.
  const std::string binary("[A]\nK=v\n\0\x01\x02", 9);
  WriteFile(folder + "/Broken.ini", binary);
  EXPECT_EQ(host.GetSetting("Broken", "A", "K", "default"), "default");
  EXPECT_TRUE(SettingsStore(folder + "/Broken.ini").Broken());
  host.SaveSetting("Broken", "A", "K", "new");
  WriteFile(folder + "/Broken.ini", binary + "second");
  host.SaveSetting("Broken", "A", "K", "newer");
  EXPECT_EQ(host.GetSetting("Broken", "A", "K", ""), "newer");
  EXPECT_EQ(ReadFile(folder + "/Broken.ini.broken.1"), binary);
  EXPECT_EQ(ReadFile(folder + "/Broken.ini.broken.2"), binary + "second");

  // A folder where the file should be: reads give the default, writes raise error 75.
  fs::create_directories(folder + "/Folder.ini");
  EXPECT_EQ(host.GetSetting("Folder", "A", "K", "default"), "default");
  EXPECT_EQ(ErrorOf([&] { host.SaveSetting("Folder", "A", "K", "v"); }), err::kPathFileAccess);
  // No temporary file is left behind by the failed write.
  EXPECT_EQ(FilesIn(folder),
            (std::vector<std::string>{".Broken.ini.lock", ".Folder.ini.lock", ".Odd.ini.lock",
                                      "Broken.ini", "Broken.ini.broken.1", "Broken.ini.broken.2",
                                      "Folder.ini", "Hand.ini", "Odd.ini"}));

  // A file that cannot be read (when permissions apply to this user) reads as empty, and is
  // not written over with what little the store knows.
  if (geteuid() != 0) {
    const std::string locked = WriteFile(folder + "/Locked.ini", "[A]\nK=v\n");
    fs::permissions(locked, fs::perms::owner_write);
    EXPECT_EQ(host.GetSetting("Locked", "A", "K", "default"), "default");
    EXPECT_EQ(ErrorOf([&] { host.SaveSetting("Locked", "A", "K2", "w"); }), err::kPermissionDenied);
    fs::permissions(locked, fs::perms::owner_all);
    EXPECT_EQ(ReadFile(locked), "[A]\nK=v\n");
  }
}

TEST(HostServices, FoldersIconsClockAndReplacement) {
  {
    ScopedEnv home("CORVALE_HOME", "/opt/corvale//");
    EXPECT_EQ(Host().LibraryFolder(), "/opt/corvale");
    ScopedEnv none("CORVALE_HOME", std::nullopt);  // then the folder of the running program
    EXPECT_EQ(Host().LibraryFolder(), fs::read_symlink("/proc/self/exe").parent_path().string());
    const std::string writable = TempDir() + "/libhome";
    fs::create_directories(writable);
    ScopedEnv writableHome("CORVALE_HOME", writable + "/");
    EXPECT_EQ(Host().LogFolder(), writable);
    // A library folder that cannot take the log sends it to the user's state folder.
    ScopedEnv missingHome("CORVALE_HOME", TempDir() + "/no/such/folder");
    ScopedEnv xdg("XDG_STATE_HOME", TempDir() + "/state");
    EXPECT_EQ(Host().LogFolder(), TempDir() + "/state/corvale");
    EXPECT_TRUE(fs::is_directory(TempDir() + "/state/corvale"));
    ScopedEnv windows("CORVALE_WINDIR", "C:\\WINDOWS");
    ScopedEnv system("CORVALE_WINSYSDIR", std::nullopt);
    EXPECT_EQ(Host().WindowsFolderName() + "|" + Host().SystemFolderName(), "C:\\WINDOWS|");
  }

  const std::string icon = WriteFile("icons/probe.ico", std::string("\0\0\1\0icon", 8));
  PicturePtr picture = Host().LoadIcon(icon, "HALDEN");
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->bytes, std::string("\0\0\1\0icon", 8));
  EXPECT_EQ(picture->source, icon);
  EXPECT_FALSE(Host().LoadIcon(TempDir() + "/icons/missing.ico", "") ||
               Host().LoadIcon(TempDir() + "/icons", "") || Host().LoadIcon("", ""));
  EXPECT_TRUE(Host().Clock() >= 0.0 && Host().Clock() < 86401.0);

  // Replacement for a scope, nested, and back to the defaults.
  HostServices* defaults = &Host();
  auto outer = std::make_shared<HostServices>();
  {
    ScopedHostServices scope(outer);
    {
      ScopedHostServices inner(std::make_shared<HostServices>());
      EXPECT_NE(&Host(), outer.get());
    }
    EXPECT_EQ(&Host(), outer.get());
  }
  EXPECT_EQ(&Host(), defaults);
  SetHostServices(outer);
  EXPECT_EQ(&Host(), outer.get());
  SetHostServices(nullptr);
  EXPECT_EQ(&Host(), defaults);
}

}  // namespace
}  // namespace corvale

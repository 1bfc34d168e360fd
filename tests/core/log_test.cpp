#include "corvale/core/log.h"

#include <gtest/gtest.h>
#include <locale.h>

#include <cstdlib>
#include <filesystem>
#include <regex>
#include <stdexcept>
#include <vector>

#include "corvale/core/error_sink.h"
#include "corvale/core/host.h"
#include "tests/core/scoped_env.h"
#include "tests/support/test_support.h"

namespace corvale {
namespace {

namespace fs = std::filesystem;
using test::ReadFile;
using test::ScopedEnv;
using test::TempDir;

class ThrowingBoxHost : public HostServices {
 public:
  MsgAnswer MessageBox(std::string_view, std::string_view, MsgIcon, MsgButtons) override {
    throw std::runtime_error("no display");
  }
};

// Each test logs into a library folder of its own, under the C locale's ISO dates.
class DiagnosticLog : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = TempDir() + "/" + ::testing::UnitTest::GetInstance()->current_test_info()->name();
    fs::remove_all(folder_);
    fs::create_directories(folder_);
    home_.emplace("CORVALE_HOME", folder_);
    locale_.emplace("LC_ALL", "C");
  }
  std::string DefaultLog() const { return folder_ + "/CORVALE.LOG"; }
  // The texts of the message boxes shown so far; taking them forgets them.
  std::vector<std::string> TakeBoxTexts() {
    std::vector<std::string> texts;
    for (const auto& box : recorder_->boxes) texts.push_back(box.text);
    recorder_->boxes.clear();
    return texts;
  }

  std::string folder_;
  std::shared_ptr<test::RecordingHost> recorder_ = std::make_shared<test::RecordingHost>();
  ScopedHostServices host_{recorder_};
  std::optional<ScopedEnv> home_, locale_;
};

const std::string kDate = R"(\d{4}-\d{2}-\d{2})";

// The log file with the date at the start of each line replaced by "DATE".
std::string Undated(const std::string& path) {
  return std::regex_replace(ReadFile(path), std::regex("(^|\n)" + kDate + ": "), "$1DATE: ");
}

TEST_F(DiagnosticLog, WritesOneLinePerFailureAndShowsTheSameText) {
  EXPECT_EQ(DefaultLogFile(), DefaultLog());

  const std::string other = folder_ + "/other.log";
  LogError(438, "Object doesn't support this property or method", "frmEditInst:cboIcons_Click",
           other);
  EXPECT_EQ(Undated(other),
            "DATE: frmEditInst:cboIcons_Click : 438-Object doesn't support this property or "
            "method\r\n");
  // The named file took the line; the default log was not even created.
  EXPECT_FALSE(fs::exists(DefaultLog()));

  // Empty file argument: the default log, created and then appended to. Negative domain
  // numbers are written in decimal; a description with line breaks is written as it stands.
  LogError(err::kSchemeLoad, "Cannot load instrument", "clsSchemeInstruments:XMLNode[SET]");
  LogError(13, "Type mismatch\r\nin line 2", "frmCodeEditorInstrument_Load", "");
  EXPECT_EQ(Undated(DefaultLog()),
            "DATE: clsSchemeInstruments:XMLNode[SET] : -2147221504-Cannot load instrument\r\n"
            "DATE: frmCodeEditorInstrument_Load : 13-Type mismatch\r\nin line 2\r\n");
  EXPECT_EQ(ReadFile(other).find("Cannot load"), std::string::npos);

  // One box per logged failure, in order, with the log text less the date.
  for (const auto& box : recorder_->boxes) {
    EXPECT_EQ(box.title, "Corvale");
    EXPECT_EQ(box.icon, MsgIcon::Exclamation);
    EXPECT_EQ(box.buttons, MsgButtons::OK);
  }
  EXPECT_EQ(TakeBoxTexts(),
            (std::vector<std::string>{
                "frmEditInst:cboIcons_Click : 438-Object doesn't support this property or method",
                "clsSchemeInstruments:XMLNode[SET] : -2147221504-Cannot load instrument",
                "frmCodeEditorInstrument_Load : 13-Type mismatch\r\nin line 2"}));
}

TEST_F(DiagnosticLog, FailureToWriteStillShowsTheBoxAndNeverRaises) {
  LogError(5, "first", "clsSchemeInstruments:Save()", folder_ + "/no/such/folder/x.log");
  LogError(5, "second", "clsSchemeInstruments:Save()", folder_);  // a folder, not a file
  {
    ScopedEnv home("CORVALE_HOME", "/proc/self");  // neither writable nor a place for logs
    ScopedEnv state("XDG_STATE_HOME", "/proc/self/corvale-state");
    LogError(5, "third", "clsSchemeInstruments:Save()");
  }
  ASSERT_EQ(recorder_->boxes.size(), 3u);
  EXPECT_EQ(TakeBoxTexts()[2], "clsSchemeInstruments:Save() : 5-third");

  // Even a message box that fails does not escape.
  ScopedHostServices throwing(std::make_shared<ThrowingBoxHost>());
  EXPECT_NO_THROW(LogError(5, "fourth", "clsSchemeInstruments:Save()"));
  EXPECT_NE(ReadFile(DefaultLog()).find("5-fourth\r\n"), std::string::npos);
}

TEST_F(DiagnosticLog, ShortDateFollowsTheTimeLocale) {
  const std::regex iso(kDate);
  for (const char* name : {"C", "POSIX", "C.UTF-8", "xx_NOWHERE.UTF-8"}) {
    ScopedEnv all("LC_ALL", name);
    EXPECT_TRUE(std::regex_match(LogTimestamp(), iso)) << name << ": " << LogTimestamp();
  }
  // LC_TIME counts when LC_ALL is unset, LANG when both are.
  ScopedEnv all("LC_ALL", std::nullopt);
  ScopedEnv lang("LANG", "C");
  ScopedEnv time("LC_TIME", "POSIX");
  EXPECT_TRUE(std::regex_match(LogTimestamp(), iso));

  // A real locale gives its own short date: build one where the tools are there.
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "glibc's newlocale leaks its copy of LOCPATH, which the leak checker reports";
#endif
  const std::string locales = folder_ + "/locales";
  const std::string build =
      "localedef -i de_DE -f UTF-8 '" + locales + "/de_DE.UTF-8' >/dev/null 2>&1";
  fs::create_directories(locales);
  if (std::system(build.c_str()) != 0) GTEST_SKIP() << "localedef cannot build de_DE here";
  ScopedEnv path("LOCPATH", locales);
  ScopedEnv german("LC_TIME", "de_DE.UTF-8");
  const char* global = setlocale(LC_TIME, nullptr);
  const std::string before = global ? global : "";
  EXPECT_TRUE(std::regex_match(LogTimestamp(), std::regex(R"(\d{2}\.\d{2}\.\d{4})")))
      << LogTimestamp();
  // The program's own locale is left alone.
  EXPECT_EQ(setlocale(LC_TIME, nullptr), before);
}

TEST_F(DiagnosticLog, TrapLogsEachFailureAndGoesOnWithTheNextStep) {
  std::vector<int> done;
  ErrorTrap trap("clsSchemeInstruments:RefreshAliasCache");
  EXPECT_TRUE(trap.Step([&] { done.push_back(1); }));
  EXPECT_FALSE(trap.Step([&] { throw Error(err::kSubscriptOutOfRange); }));
  EXPECT_TRUE(trap.Step([&] { done.push_back(3); }));
  EXPECT_FALSE(trap.Step([&] { throw std::invalid_argument("bad channel"); }));
  EXPECT_TRUE(trap.Step([&] { done.push_back(5); }));

  EXPECT_EQ(done, (std::vector<int>{1, 3, 5}));
  EXPECT_EQ(trap.Failures(), 2);
  EXPECT_FALSE(trap.HasLeft());
  EXPECT_EQ(TakeBoxTexts(), (std::vector<std::string>{
                                "clsSchemeInstruments:RefreshAliasCache : 9-Subscript out of range",
                                "clsSchemeInstruments:RefreshAliasCache : 5-bad channel"}));
  EXPECT_EQ(Undated(DefaultLog()),
            "DATE: clsSchemeInstruments:RefreshAliasCache : 9-Subscript out of range\r\n"
            "DATE: clsSchemeInstruments:RefreshAliasCache : 5-bad channel\r\n");

  // The Leave variant logs the first failure and skips the rest of the procedure.
  ErrorTrap leave("frmMultiChanScale:cmdCalcScaling_Click", ErrorTrap::OnError::Leave);
  done.clear();
  EXPECT_TRUE(leave.Step([&] { done.push_back(1); }));
  EXPECT_FALSE(leave.Step([&] { throw Error(err::kOverflow); }));
  EXPECT_FALSE(leave.Step([&] { done.push_back(3); }));
  EXPECT_FALSE(leave.Step([&] { throw Error(err::kTypeMismatch); }));
  EXPECT_EQ(done, std::vector<int>{1});
  EXPECT_TRUE(leave.HasLeft());
  EXPECT_EQ(leave.Failures(), 1);
  EXPECT_EQ(TakeBoxTexts(),
            std::vector<std::string>{"frmMultiChanScale:cmdCalcScaling_Click : 6-Overflow"});
}

TEST(ErrorFromException, MapsFailuresToNumbers) {
  auto number = [](auto failure) {
    return ErrorFromException(std::make_exception_ptr(failure)).number();
  };
  EXPECT_EQ(number(Error(err::kDuplicateKey)), 457);
  EXPECT_EQ(number(std::bad_alloc()), 7);
  EXPECT_EQ(number(std::out_of_range("x")), 9);
  EXPECT_EQ(number(std::overflow_error("x")), 6);
  EXPECT_EQ(number(std::filesystem::filesystem_error("x", std::error_code())), 75);
  EXPECT_EQ(number(std::logic_error("x")), 5);
  EXPECT_EQ(number(42), 5);
  const Error kept = ErrorFromException(std::make_exception_ptr(Error(91, "No scheme", "src")));
  EXPECT_EQ(kept.description(), "No scheme");
  EXPECT_EQ(ErrorFromException(std::make_exception_ptr(std::runtime_error("disk"))).description(),
            "disk");
}

}  // namespace
}  // namespace corvale

namespace corvale {
namespace {

// Operations that must go on report failures into a sink with the numbers the log would use.
TEST(ErrorSink, ReportsCaughtFailuresWithTheirNumbers) {
  struct Recorder : ErrorSink {
    std::vector<std::string> lines;
    void Report(int32_t number, std::string description, std::string source, bool fatal) override {
      lines.push_back(std::to_string(number) + " " + description + " @" + source +
                      (fatal ? " fatal" : ""));
    }
  } sink;
  try {
    throw Error(err::kDuplicateKey);
  } catch (...) {
    ReportFailure(sink, std::current_exception(), "clsThing:Add", true);
  }
  try {
    throw std::out_of_range("position 7");
  } catch (...) {
    ReportFailure(sink, std::current_exception(), "clsThing:Item", false);
  }
  EXPECT_EQ(sink.lines,
            (std::vector<std::string>{"457 This key is already associated with an element of this "
                                      "collection @clsThing:Add fatal",
                                      "9 position 7 @clsThing:Item"}));
}

}  // namespace
}  // namespace corvale

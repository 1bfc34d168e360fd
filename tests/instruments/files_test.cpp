#include "corvale/instruments/files.h"

#include <gtest/gtest.h>

#include <chrono>

#include "corvale/binding/node_access.h"
#include "corvale/core/error.h"
#include "tests/support/test_support.h"

namespace corvale {
namespace {

using test::ChildText;
using test::ErrorOf;

// Day numbers count from 1899-12-30; the fraction is the time of day.
double DayNumber(std::chrono::year_month_day date, double hours) {
  using namespace std::chrono;
  constexpr sys_days epoch = year{1899} / December / 30;
  return static_cast<double>((sys_days{date} - epoch).count()) + hours / 24.0;
}

TEST(Files, FileDateIsWrittenAsItsDayNumber) {
  using namespace std::chrono;
  auto file = std::make_shared<clsFile>();
  file->FileDate(DayNumber(year{2000} / January / 1, 12));
  EXPECT_EQ(ChildText(file->XMLNode(), "FILEDATE"), "36526.5");
  EXPECT_DOUBLE_EQ(file->FileDate(), 36526.5);
  file->FileDate(0);  // no date: no element
  file->Version(0);
  EXPECT_EQ(ChildText(file->XMLNode(), "FILEDATE") + ChildText(file->XMLNode(), "VERSION"),
            "(absent)(absent)");
}

TEST(Files, PathsAreKeysWithoutRegardToCase) {
  xml::Node element = ParseNode(
      "<FILES><KEY>K</KEY>"
      "<FILE><PATH>C:\\LIB\\A.BIN</PATH><FAMILY>CR</FAMILY></FILE>"
      "<FILE><PATH>C:\\LIB\\B.BIN</PATH></FILE></FILES>");
  auto files = std::make_shared<clsFiles>();
  files->XMLNode(element);
  ASSERT_EQ(files->Count(), 2);
  EXPECT_EQ(files->Key(), "K");
  EXPECT_EQ(files->Item("c:\\lib\\a.bin")->Family(), "CR");
  EXPECT_EQ(ErrorOf([&] { files->Item("C:\\LIB\\C.BIN"); }), err::kSubscriptOutOfRange);

  // A repeated path is refused and leaves the document as it was.
  auto again = std::make_shared<clsFile>();
  again->File("c:\\lib\\B.bin");
  EXPECT_EQ(ErrorOf([&] { files->Add(again); }), err::kDuplicateKey);
  EXPECT_EQ(element.selectNodes("FILE").size(), 2u);

  again->File("C:\\LIB\\C.BIN");
  files->Add(again);
  EXPECT_EQ(element.lastChild(), again->XMLNode());
  files->Remove("C:\\LIB\\A.BIN");
  EXPECT_EQ(element.selectSingleNode("FILE").selectSingleNode("PATH").text(), "C:\\LIB\\B.BIN");

  // Two elements with one path cannot be loaded.
  auto broken = std::make_shared<clsFiles>();
  EXPECT_EQ(ErrorOf([&] {
              broken->XMLNode(ParseNode(
                  "<FILES><FILE><PATH>x.bin</PATH></FILE><FILE><PATH>X.BIN</PATH></FILE></FILES>"));
            }),
            err::kDuplicateKey);
}

}  // namespace
}  // namespace corvale

#include "corvale/scheme/errors.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

#include "corvale/core/error.h"
#include "corvale/core/error_sink.h"
#include "corvale/core/registry.h"
#include "corvale/xml/xml.h"
#include "tests/support/test_support.h"

namespace corvale {
namespace {

using test::ErrorOf;

TEST(ErrorList, FatalCountsPositionsAndSharedEntries) {
  clsErrors errors;
  EXPECT_EQ(errors.Count(), 0);
  EXPECT_FALSE(errors.Fatal());
  EXPECT_EQ(ErrorOf([&] { errors.Item(1); }), err::kSubscriptOutOfRange);

  auto warning = std::make_shared<clsError>(err::kAdd5, "There are no more available channels",
                                            "clsSchemeInstruments:Add", false);
  errors.Add(warning);
  EXPECT_FALSE(errors.Fatal());
  errors.Report(err::kAdd1, "Only one instance of this instrument can be used in a scheme",
                "clsSchemeInstruments:Add", true);
  EXPECT_TRUE(errors.Fatal());
  EXPECT_EQ(errors.Count(), 2);
  EXPECT_EQ(errors.Item(1), warning);  // the object itself, not a copy
  EXPECT_EQ(errors.Item(2)->Number(), static_cast<int32_t>(0x800403E9u));
  EXPECT_EQ(errors.Item(2)->Source(), "clsSchemeInstruments:Add");
  EXPECT_EQ(ErrorOf([&] { errors.Item(3); }), err::kSubscriptOutOfRange);
  EXPECT_EQ(ErrorOf([&] { errors.Item(0); }), err::kSubscriptOutOfRange);
  EXPECT_EQ(ErrorOf([&] { errors.Remove(3); }), err::kSubscriptOutOfRange);
  EXPECT_EQ(ErrorOf([&] { errors.Add(nullptr); }), err::kObjectNotSet);

  // Clearing the fatal flag of the one fatal entry clears the list's.
  errors.Item(2)->Fatal(false);
  EXPECT_FALSE(errors.Fatal());
  errors.Remove(1);
  EXPECT_EQ(errors.Item(1)->Number(), err::kAdd1);
  errors.Clear();
  EXPECT_EQ(errors.Count(), 0);
}

TEST(ErrorList, MergeSharesEntriesAndMergesIntoItselfOnce) {
  clsErrors mine, theirs;
  theirs.Report(1, "first", "a:b", false);
  theirs.Report(2, "second", "a:c", false);
  mine.Report(3, "own", "x:y", false);
  mine.Merge(theirs);
  ASSERT_EQ(mine.Count(), 3);
  EXPECT_EQ(theirs.Count(), 2);
  EXPECT_EQ(mine.Item(2)->Description(), "first");
  // One entry, seen through both lists.
  theirs.Item(2)->Fatal(true);
  EXPECT_TRUE(mine.Fatal());
  mine.Item(2)->Description("changed");
  EXPECT_EQ(theirs.Item(1)->Description(), "changed");

  mine.Merge(mine);
  ASSERT_EQ(mine.Count(), 6);
  EXPECT_EQ(mine.Item(4), mine.Item(1));
  EXPECT_EQ(mine.Item(6), mine.Item(3));
  // Removing from one list leaves the other as it was.
  theirs.Clear();
  EXPECT_EQ(mine.Count(), 6);
}

TEST(ErrorList, ParseErrorBecomesFatalEntryWithPositionThenLine) {
  xml::Document document = xml::Document::create();
  ASSERT_FALSE(document.loadXML("<A>\n<B>abc</C>\n</A>"));
  const xml::ParseError& failure = document.parseError();
  clsErrors errors;
  errors.MergeParseError(failure);
  ASSERT_EQ(errors.Count(), 1);
  const ErrorPtr entry = errors.Item(1);
  EXPECT_TRUE(entry->Fatal());
  EXPECT_NE(entry->Number(), 0);
  EXPECT_EQ(entry->Number(), failure.errorCode);
  EXPECT_EQ(entry->Description(), failure.reason);
  EXPECT_EQ(entry->Source(), std::to_string(failure.linepos) + "<B>abc</C>");

  xml::ParseError made;
  made.errorCode = -1072896659;
  made.reason = "Invalid at the top level of the document.";
  made.linepos = 12;
  made.srcText = "abc";
  errors.MergeParseError(made);
  EXPECT_EQ(errors.Item(2)->Source(), "12abc");
  EXPECT_EQ(errors.Item(2)->Number(), -1072896659);
}

TEST(ErrorList, TakesReportsThroughTheSeamAndByMemberName) {
  auto errors = std::dynamic_pointer_cast<clsErrors>(CreateObject("Corvale2.clsErrors"));
  ASSERT_TRUE(errors);
  ErrorSink& sink = *errors;
  try {
    throw Error(err::kDuplicateKey);
  } catch (...) {
    ReportFailure(sink, std::current_exception(), "clsSchemeInstruments:XMLNode[SET]", false);
  }
  ASSERT_EQ(errors->Count(), 1);
  EXPECT_EQ(errors->Item(1)->Number(), err::kDuplicateKey);
  EXPECT_EQ(errors->Item(1)->Source(), "clsSchemeInstruments:XMLNode[SET]");
  EXPECT_FALSE(errors->Item(1)->Fatal());

  ObjectPtr entry = CreateObject("Corvale2.clsError");
  entry->Invoke("Number", {static_cast<int32_t>(0x800403E8u)});
  entry->Invoke("Description", {"Invalid logger type"});
  entry->Invoke("Fatal", {true});
  errors->Invoke("Add", {entry});
  EXPECT_EQ(errors->Invoke("Count").ToInt32(), 2);
  EXPECT_TRUE(errors->Invoke("Fatal").ToBool());
  ObjectPtr second = errors->Invoke("Item", {2}).ToObject();
  EXPECT_EQ(second, entry);
  EXPECT_EQ(second->Invoke("Description").ToString(), "Invalid logger type");
  EXPECT_EQ(ErrorOf([&] { errors->Invoke("Add", {errors}); }), err::kTypeMismatch);
  errors->Invoke("Merge", {errors});
  EXPECT_EQ(errors->Count(), 4);
  errors->Invoke("Remove", {1});
  errors->Invoke("Clear");
  EXPECT_EQ(errors->Count(), 0);
}

}  // namespace
}  // namespace corvale

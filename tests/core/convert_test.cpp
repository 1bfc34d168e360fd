#include "corvale/core/convert.h"

#include <gtest/gtest.h>

#include <string>

#include "corvale/core/error.h"
#include "tests/support/test_support.h"

namespace corvale {
namespace {

using test::ErrorOf;

TEST(Convert, LeadingNumberParse) {
  EXPECT_EQ(ParseLeadingNumber("12abc"), 12);
  EXPECT_EQ(ParseLeadingNumber("  -3.5 volts"), -3.5);
  EXPECT_EQ(ParseLeadingNumber("1e3"), 1000);
  EXPECT_EQ(ParseLeadingNumber("1.5E-2x"), 0.015);
  EXPECT_EQ(ParseLeadingNumber("2e"), 2);  // an exponent without digits is not read
  EXPECT_EQ(ParseLeadingNumber(".5"), 0.5);
  for (const char* none : {"abc", "", "-", ".", "1e-400"}) EXPECT_EQ(ParseLeadingNumber(none), 0);
  EXPECT_EQ(ErrorOf([] { ParseLeadingNumber("1e400"); }), err::kOverflow);

  EXPECT_TRUE(IsNumericText(" -1e3 "));
  for (const char* text : {"12abc", "", "-", "True"}) EXPECT_FALSE(IsNumericText(text));
}

TEST(Convert, IntegerReadsRoundTiesToEvenAndOverflow) {
  EXPECT_EQ(RoundToInt16(2.5), 2);
  EXPECT_EQ(RoundToInt16(3.5), 4);
  EXPECT_EQ(RoundToInt16(-2.5), -2);
  EXPECT_EQ(RoundToInt16(-3.5), -4);
  EXPECT_EQ(TextToInt16("-32768"), -32768);
  EXPECT_EQ(TextToInt32("70000"), 70000);
  EXPECT_EQ(ErrorOf([] { TextToInt16("70000"); }), err::kOverflow);
  EXPECT_EQ(ErrorOf([] { TextToInt16("32767.5"); }), err::kOverflow);  // rounds to 32768
  EXPECT_EQ(ErrorOf([] { TextToInt32("2147483648"); }), err::kOverflow);
  EXPECT_EQ(ErrorOf([] { TextToSingle("1e39"); }), err::kOverflow);
}

TEST(Convert, BooleanReadRule) {
  for (const char* text : {"true", "TRUE", "-1", "2", " 1 ", "0.5"})
    EXPECT_TRUE(TextToBool(text)) << text;
  for (const char* text : {"yes", "False", "", "0", "0.0", " true"})
    EXPECT_FALSE(TextToBool(text)) << text;
}

TEST(Convert, NumberWriting) {
  EXPECT_EQ(SingleText(1.0f), "1");
  EXPECT_EQ(SingleText(1.5f), "1.5");
  EXPECT_EQ(SingleText(0.1f), "0.1");
  EXPECT_EQ(DoubleText(36526.5), "36526.5");
  EXPECT_EQ(DoubleText(-0.0), "0");
  // Whatever the form, the text reads back to the very same value.
  for (double value : {1e-5, 1.0 / 3.0, -2.5e20, 5e-324})
    EXPECT_EQ(TextToDouble(DoubleText(value)), value) << DoubleText(value);
  for (float value : {1e-5f, 1.0f / 3.0f, 3.4e38f})
    EXPECT_EQ(TextToSingle(SingleText(value)), value) << SingleText(value);
  EXPECT_EQ(Format00(1) + Format00(12) + Format00(123), "0112123");
}

TEST(Convert, WildcardMatch) {
  EXPECT_TRUE(WildcardMatch("abc", "a?c"));
  EXPECT_FALSE(WildcardMatch("ac", "a?c"));
  EXPECT_FALSE(WildcardMatch("ABC", "abc"));  // case-sensitive
  EXPECT_TRUE(WildcardMatch("LIB.XML", "*.XML"));
  EXPECT_FALSE(WildcardMatch("LIB.XMLX", "*.XML"));
  EXPECT_TRUE(WildcardMatch("aXbYc", "a*b*c"));
  EXPECT_TRUE(WildcardMatch("caf\xC3\xA9", "caf?"));  // "?" is one character, not one byte
  // Many stars against a long text that almost matches must still answer at once.
  EXPECT_FALSE(WildcardMatch(std::string(5000, 'a'), "*a*a*a*a*a*a*a*a*b"));
}

TEST(Convert, CaseRulesCoverLatin1Letters) {
  // a-umlaut and e-acute fold; y-diaeresis, sharp s and the division sign stay.
  EXPECT_EQ(UpperCase("chan_\xC3\xA4 \xC3\xA9 \xC3\xBF \xC3\x9F \xC3\xB7"),
            "CHAN_\xC3\x84 \xC3\x89 \xC3\xBF \xC3\x9F \xC3\xB7");
  EXPECT_EQ(LowerCase("\xC3\x80\xC3\x9E\xC3\x97Z"), "\xC3\xA0\xC3\xBE\xC3\x97z");
  EXPECT_TRUE(EqualsNoCase("Temp_\xC3\xA4", "TEMP_\xC3\x84"));
  EXPECT_LT(CompareNoCase("alpha", "BETA"), 0);
  EXPECT_GT(CompareNoCase("abc", "AB"), 0);
  EXPECT_EQ(TrimBlanks("  a b  "), "a b");
  EXPECT_EQ(TrimBlanks("\ta "), "\ta");  // blanks are spaces only
}

TEST(Convert, Windows1252Codes) {
  EXPECT_EQ(Windows1252Code("\xE2\x82\xAC!"), 0x80);  // euro sign; the first character counts
  EXPECT_EQ(Windows1252Code("\xC6\x92"), 0x83);       // f with hook
  EXPECT_EQ(Windows1252Code("\xC4\x80"), 63);         // A with macron: not in the code page
  EXPECT_EQ(Windows1252Code("\xE4\xB8\xAD"), 63);     // a CJK character
  EXPECT_EQ(Windows1252Code("\xC2\x81"), 63);         // a C1 control
  for (int code = 1; code < 256; ++code) {
    if (code == 0x81 || code == 0x8D || code == 0x8F || code == 0x90 || code == 0x9D) continue;
    EXPECT_EQ(Windows1252Code(Windows1252Char(code)), code) << code;
  }
  EXPECT_EQ(ErrorOf([] { Windows1252Char(256); }), err::kInvalidProcedureCall);
}

}  // namespace
}  // namespace corvale

#include "corvale/core/convert.h"

#include <gtest/gtest.h>

#include <string>

#include "corvale/core/error.h"

namespace corvale {
namespace {

int32_t ErrorOf(void (*action)()) {
  try {
    action();
  } catch (const Error& e) {
    return e.number();
  }
  return 0;
}

TEST(Convert, LeadingNumberParse) {
  EXPECT_EQ(ParseLeadingNumber("12abc"), 12);
  EXPECT_EQ(ParseLeadingNumber("  -3.5 volts"), -3.5);
  EXPECT_EQ(ParseLeadingNumber("1e3"), 1000);
  EXPECT_EQ(ParseLeadingNumber("1.5E-2x"), 0.015);
  EXPECT_EQ(ParseLeadingNumber("2e"), 2);  // an exponent without digits is not read
  EXPECT_EQ(ParseLeadingNumber(".5"), 0.5);
  EXPECT_EQ(ParseLeadingNumber("+7"), 7);
  EXPECT_EQ(ParseLeadingNumber("abc"), 0);
  EXPECT_EQ(ParseLeadingNumber(""), 0);
  EXPECT_EQ(ParseLeadingNumber("-"), 0);
  EXPECT_EQ(ParseLeadingNumber("1e-400"), 0);
  EXPECT_EQ(ErrorOf([] { ParseLeadingNumber("1e400"); }), err::kOverflow);

  EXPECT_TRUE(IsNumericText(" 12 "));
  EXPECT_TRUE(IsNumericText("-1e3"));
  EXPECT_FALSE(IsNumericText("12abc"));
  EXPECT_FALSE(IsNumericText(""));
  EXPECT_FALSE(IsNumericText("-"));
  EXPECT_FALSE(IsNumericText("True"));
}

TEST(Convert, IntegerReadsRoundTiesToEvenAndOverflow) {
  EXPECT_EQ(RoundToInt16(2.5), 2);
  EXPECT_EQ(RoundToInt16(3.5), 4);
  EXPECT_EQ(RoundToInt16(-2.5), -2);
  EXPECT_EQ(RoundToInt16(-3.5), -4);
  EXPECT_EQ(RoundToInt16(2.51), 3);
  EXPECT_EQ(TextToInt16("-32768"), -32768);
  EXPECT_EQ(TextToInt16("12abc"), 12);
  EXPECT_EQ(TextToInt32("2147483647"), 2147483647);
  EXPECT_EQ(TextToInt32("70000"), 70000);

  EXPECT_EQ(ErrorOf([] { TextToInt16("70000"); }), err::kOverflow);
  EXPECT_EQ(ErrorOf([] { TextToInt16("32767.5"); }), err::kOverflow);  // rounds to 32768
  EXPECT_EQ(ErrorOf([] { TextToInt32("2147483648"); }), err::kOverflow);
  EXPECT_EQ(ErrorOf([] { TextToSingle("1e39"); }), err::kOverflow);
}

TEST(Convert, BooleanReadRule) {
  for (const char* text : {"true", "TRUE", "True", "-1", "2", " 1 ", "0.5"})
    EXPECT_TRUE(TextToBool(text)) << text;
  for (const char* text : {"yes", "False", "", "0", "0.0", " true", "abc"})
    EXPECT_FALSE(TextToBool(text)) << text;
}

TEST(Convert, NumberWriting) {
  EXPECT_EQ(IntegerText(-1), "-1");
  EXPECT_EQ(IntegerText(250), "250");
  EXPECT_EQ(SingleText(1.0f), "1");
  EXPECT_EQ(SingleText(1.5f), "1.5");
  EXPECT_EQ(SingleText(0.1f), "0.1");
  EXPECT_EQ(DoubleText(0.1), "0.1");
  EXPECT_EQ(DoubleText(36526.5), "36526.5");
  EXPECT_EQ(DoubleText(-0.0), "0");
  // Whatever the form, the text reads back to the very same value.
  for (double value : {1e-5, 1.0 / 3.0, -2.5e20, 123456789.125, 5e-324})
    EXPECT_EQ(TextToDouble(DoubleText(value)), value) << DoubleText(value);
  for (float value : {1e-5f, 1.0f / 3.0f, 3.4e38f})
    EXPECT_EQ(TextToSingle(SingleText(value)), value) << SingleText(value);

  EXPECT_EQ(Format00(1), "01");
  EXPECT_EQ(Format00(0), "00");
  EXPECT_EQ(Format00(12), "12");
  EXPECT_EQ(Format00(123), "123");
}

TEST(Convert, WildcardMatch) {
  EXPECT_TRUE(WildcardMatch("", "*"));
  EXPECT_TRUE(WildcardMatch("abc", "a?c"));
  EXPECT_FALSE(WildcardMatch("ac", "a?c"));
  EXPECT_FALSE(WildcardMatch("ABC", "abc"));  // case-sensitive
  EXPECT_TRUE(WildcardMatch("LIB.XML", "*.XML"));
  EXPECT_FALSE(WildcardMatch("LIB.XMLX", "*.XML"));
  EXPECT_TRUE(WildcardMatch("aXbYc", "a*b*c"));
  EXPECT_TRUE(WildcardMatch("caf\xC3\xA9", "caf?"));  // "?" is one character, not one byte
  EXPECT_FALSE(WildcardMatch("abc", ""));
  // Many stars against a long text that almost matches must still answer at once.
  EXPECT_FALSE(WildcardMatch(std::string(5000, 'a'), "*a*a*a*a*a*a*a*a*b"));
}

TEST(Convert, CaseRulesCoverLatin1Letters) {
  // a-umlaut and e-acute fold; y-diaeresis, sharp s and the division sign stay.
  EXPECT_EQ(UpperCase("chan_\xC3\xA4 \xC3\xA9 \xC3\xBF \xC3\x9F \xC3\xB7"),
            "CHAN_\xC3\x84 \xC3\x89 \xC3\xBF \xC3\x9F \xC3\xB7");
  EXPECT_EQ(LowerCase("\xC3\x80\xC3\x9E\xC3\x97Z"), "\xC3\xA0\xC3\xBE\xC3\x97z");
  EXPECT_TRUE(EqualsNoCase("Temp_\xC3\xA4", "TEMP_\xC3\x84"));
  EXPECT_FALSE(EqualsNoCase("abc", "abcd"));
  EXPECT_LT(CompareNoCase("alpha", "BETA"), 0);
  EXPECT_EQ(CompareNoCase("Gamma", "gAMMA"), 0);
  EXPECT_GT(CompareNoCase("abc", "AB"), 0);

  EXPECT_EQ(TrimBlanks("  a b  "), "a b");
  EXPECT_EQ(TrimBlanks("\ta "), "\ta");  // blanks are spaces only
  EXPECT_EQ(TrimRightBlanks(" a  "), " a");
}

TEST(Convert, Windows1252Codes) {
  EXPECT_EQ(Windows1252Code(""), 0);
  EXPECT_EQ(Windows1252Code("A"), 65);
  EXPECT_EQ(Windows1252Code("\xE2\x82\xAC"
                            "uro"),
            0x80);                               // euro sign, first character only
  EXPECT_EQ(Windows1252Code("\xC6\x92"), 0x83);  // f with hook
  EXPECT_EQ(Windows1252Code("\xC5\xB8"), 0x9F);  // Y with diaeresis
  EXPECT_EQ(Windows1252Code("\xC3\xA9"), 0xE9);  // e acute
  EXPECT_EQ(Windows1252Code("\xC2\xA0"), 0xA0);
  EXPECT_EQ(Windows1252Code("\xC4\x80"), 63);      // A with macron: not in the code page
  EXPECT_EQ(Windows1252Code("\xE4\xB8\xAD"), 63);  // a CJK character
  EXPECT_EQ(Windows1252Code("\xC2\x81"), 63);      // C1 control

  EXPECT_EQ(Windows1252Char(0x80), "\xE2\x82\xAC");
  for (int code = 1; code < 256; ++code) {
    if (code == 0x81 || code == 0x8D || code == 0x8F || code == 0x90 || code == 0x9D) continue;
    EXPECT_EQ(Windows1252Code(Windows1252Char(code)), code) << code;
  }
  EXPECT_EQ(ErrorOf([] { Windows1252Char(256); }), err::kInvalidProcedureCall);
}

}  // namespace
}  // namespace corvale

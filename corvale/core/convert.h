// The one home of the number and text rules that users' documents depend on.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace corvale {

// Leading-number parse: leading blanks skipped, the longest numeric prefix (sign, digits,
// decimal point, exponent) read; text without such a prefix reads 0. "12abc" reads 12.
double ParseLeadingNumber(std::string_view text);
// True when the whole text (blanks round it allowed) is one number.
bool IsNumericText(std::string_view text);

// Nearest whole number, ties to even (2.5 -> 2, 3.5 -> 4, -0.4 -> 0, never -0).
double RoundHalfEven(double value);
// Rounded to `places` decimal places, ties to even at the last place.
double RoundToPlaces(double value, int places);
// A whole number in plain decimal, never with an exponent: the value rounded as RoundHalfEven
// ("1000000000000", "-3", "0").
std::string WholeNumberText(double value);

// Rounding to the nearest integer, ties to even; out of range raises error 6.
int16_t RoundToInt16(double value);
int32_t RoundToInt32(double value);
// Text to integer: the leading-number parse, then the rounding above.
int16_t TextToInt16(std::string_view text);
int32_t TextToInt32(std::string_view text);
float TextToSingle(std::string_view text);
double TextToDouble(std::string_view text);

// Boolean read rule: numeric text is true when not 0; other text is true exactly when its
// upper-case form is "TRUE".
bool TextToBool(std::string_view text);

// Decimal writing: "-1", "250".
std::string IntegerText(int64_t value);
// Shortest text that reads back to the same single / double ("1", "1.5", "0.1").
std::string SingleText(float value);
std::string DoubleText(double value);
// Booleans as the setters write them: "-1" / "0".
inline std::string BoolText(bool value) { return value ? "-1" : "0"; }
// Two digits at least: 1 -> "01", 12 -> "12", 123 -> "123".
std::string Format00(int32_t value);

// Wildcard match: "*" any run, "?" one character; case-sensitive, whole text.
bool WildcardMatch(std::string_view text, std::string_view pattern);

// Case rules for keys and names (ASCII and the Latin-1 letters of UTF-8 text).
std::string UpperCase(std::string_view text);
std::string LowerCase(std::string_view text);
bool EqualsNoCase(std::string_view a, std::string_view b);
// <0, 0, >0 like strcmp, without regard to case.
int CompareNoCase(std::string_view a, std::string_view b);
// A hash that texts equal under EqualsNoCase share, computed without a folded copy.
size_t HashNoCase(std::string_view text);
// Hash and equality for unordered containers keyed without regard to case; both take
// std::string_view, so a look-up builds no string.
struct NoCaseHash {
  using is_transparent = void;
  size_t operator()(std::string_view text) const { return HashNoCase(text); }
};
struct NoCaseEqual {
  using is_transparent = void;
  bool operator()(std::string_view a, std::string_view b) const { return EqualsNoCase(a, b); }
};

// Trimming of blanks (spaces), as the document rules trim.
std::string_view TrimBlanks(std::string_view text);
std::string_view TrimRightBlanks(std::string_view text);

// The windows-1252 code of the first character of UTF-8 text (0 for empty text, 63 "?"
// for a character that windows-1252 cannot hold).
int Windows1252Code(std::string_view text);
// The UTF-8 text of one windows-1252 code.
std::string Windows1252Char(int code);

}  // namespace corvale

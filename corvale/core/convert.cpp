#include "corvale/core/convert.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <system_error>
#include <vector>

#include "corvale/core/error.h"

namespace corvale {

namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsLeadingBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

// The numeric prefix of text (after its leading blanks): sign, digits, decimal point, digits,
// then an exponent when digits follow it. `digits` tells whether any digit was seen.
struct NumberSpan {
  size_t begin = 0;
  size_t end = 0;
  bool digits = false;
};

NumberSpan ScanNumber(std::string_view text) {
  NumberSpan span;
  size_t i = 0;
  while (i < text.size() && IsLeadingBlank(text[i])) ++i;
  span.begin = span.end = i;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
  while (i < text.size() && IsDigit(text[i])) ++i, span.digits = true;
  if (i < text.size() && text[i] == '.') {
    ++i;
    while (i < text.size() && IsDigit(text[i])) ++i, span.digits = true;
  }
  if (!span.digits) return span;
  span.end = i;
  if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
    size_t j = i + 1;
    if (j < text.size() && (text[j] == '+' || text[j] == '-')) ++j;
    if (j < text.size() && IsDigit(text[j])) {
      while (j < text.size() && IsDigit(text[j])) ++j;
      span.end = j;
    }
  }
  return span;
}

// Reads a scanned prefix. A magnitude beyond double's range is an overflow; one below it
// reads 0.
double ReadSpan(std::string_view text, const NumberSpan& span) {
  if (!span.digits) return 0.0;
  std::string_view number = text.substr(span.begin, span.end - span.begin);
  bool negative = false;
  if (number.front() == '+' || number.front() == '-') {
    negative = number.front() == '-';
    number.remove_prefix(1);
  }
  double value = 0.0;
  auto [ptr, ec] = std::from_chars(number.data(), number.data() + number.size(), value);
  if (ec == std::errc::result_out_of_range) {
    // Overflow or underflow: the sign of the decimal exponent of the first digit decides.
    int64_t magnitude = 0;
    bool seenNonZero = false, afterPoint = false;
    size_t i = 0;
    for (; i < number.size() && number[i] != 'e' && number[i] != 'E'; ++i) {
      char c = number[i];
      if (c == '.') {
        afterPoint = true;
      } else if (seenNonZero) {
        if (!afterPoint) ++magnitude;
      } else if (c != '0') {
        seenNonZero = true;
        if (!afterPoint) magnitude = 1;
      } else if (afterPoint) {
        --magnitude;
      }
    }
    int64_t exponent = 0;
    if (i < number.size()) {
      std::string_view exp = number.substr(i + 1);
      bool expNegative = !exp.empty() && exp.front() == '-';
      if (!exp.empty() && (exp.front() == '+' || exp.front() == '-')) exp.remove_prefix(1);
      for (char c : exp) exponent = std::min<int64_t>(exponent * 10 + (c - '0'), 100000);
      if (expNegative) exponent = -exponent;
    }
    if (seenNonZero && magnitude + exponent > 0) throw Error(err::kOverflow);
    value = 0.0;
  }
  return negative ? -value : value;
}

// NaN and values outside the integer range after rounding overflow.
template <class Int>
Int RoundTo(double value) {
  if (std::isnan(value)) throw Error(err::kOverflow);
  double rounded = RoundHalfEven(value);
  if (rounded < static_cast<double>(std::numeric_limits<Int>::min()) ||
      rounded > static_cast<double>(std::numeric_limits<Int>::max()))
    throw Error(err::kOverflow);
  return static_cast<Int>(rounded);
}

template <class Float>
std::string ShortestText(Float value) {
  if (value == 0) return "0";  // also for -0, which would otherwise read "-0"
  std::array<char, 64> buffer{};
  auto [ptr, ec] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
  return std::string(buffer.data(), ec == std::errc() ? ptr : buffer.data());
}

// Upper-case fold of the byte at i: ASCII letters and the Latin-1 small letters U+00E0 to
// U+00FE (bar U+00F7), whose UTF-8 form is 0xC3 followed by 0xA0..0xBE.
unsigned char FoldUpper(std::string_view s, size_t i) {
  auto c = static_cast<unsigned char>(s[i]);
  if (c >= 'a' && c <= 'z') return static_cast<unsigned char>(c - 0x20);
  if (c >= 0xA0 && c <= 0xBE && c != 0xB7 && i > 0 && static_cast<unsigned char>(s[i - 1]) == 0xC3)
    return static_cast<unsigned char>(c - 0x20);
  return c;
}

// Lower-case fold: ASCII and U+00C0 to U+00DE (bar U+00D7), 0xC3 followed by 0x80..0x9E.
unsigned char FoldLower(std::string_view s, size_t i) {
  auto c = static_cast<unsigned char>(s[i]);
  if (c >= 'A' && c <= 'Z') return static_cast<unsigned char>(c + 0x20);
  if (c >= 0x80 && c <= 0x9E && c != 0x97 && i > 0 && static_cast<unsigned char>(s[i - 1]) == 0xC3)
    return static_cast<unsigned char>(c + 0x20);
  return c;
}

// Decodes one UTF-8 character at text[i], advancing i; an invalid sequence yields one byte
// as U+FFFD so that every byte is consumed.
char32_t NextCodePoint(std::string_view text, size_t& i) {
  auto lead = static_cast<unsigned char>(text[i]);
  size_t length = lead < 0x80           ? 1
                  : (lead >> 5) == 0x6  ? 2
                  : (lead >> 4) == 0xE  ? 3
                  : (lead >> 3) == 0x1E ? 4
                                        : 0;
  if (length == 0 || i + length > text.size()) {
    ++i;
    return 0xFFFD;
  }
  char32_t code = length == 1 ? lead : lead & (0x7F >> length);
  for (size_t k = 1; k < length; ++k) {
    auto c = static_cast<unsigned char>(text[i + k]);
    if ((c & 0xC0) != 0x80) {
      ++i;
      return 0xFFFD;
    }
    code = (code << 6) | (c & 0x3F);
  }
  i += length;
  return code;
}

std::string EncodeUtf8(char32_t code) {
  std::string out;
  if (code < 0x80) {
    out += static_cast<char>(code);
  } else if (code < 0x800) {
    out += static_cast<char>(0xC0 | (code >> 6));
    out += static_cast<char>(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    out += static_cast<char>(0xE0 | (code >> 12));
    out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (code & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (code >> 18));
    out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (code & 0x3F));
  }
  return out;
}

// Unicode characters of windows-1252 codes 0x80..0x9F; 0 where the code page has none.
constexpr std::array<char32_t, 32> kHighControls = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

}  // namespace

double ParseLeadingNumber(std::string_view text) { return ReadSpan(text, ScanNumber(text)); }

bool IsNumericText(std::string_view text) {
  NumberSpan span = ScanNumber(text);
  if (!span.digits) return false;
  for (size_t i = span.end; i < text.size(); ++i)
    if (!IsLeadingBlank(text[i])) return false;
  return true;
}

int16_t RoundToInt16(double value) { return RoundTo<int16_t>(value); }
int32_t RoundToInt32(double value) { return RoundTo<int32_t>(value); }
int16_t TextToInt16(std::string_view text) { return RoundToInt16(ParseLeadingNumber(text)); }
int32_t TextToInt32(std::string_view text) { return RoundToInt32(ParseLeadingNumber(text)); }

float TextToSingle(std::string_view text) {
  double value = ParseLeadingNumber(text);
  if (std::fabs(value) > static_cast<double>(std::numeric_limits<float>::max()))
    throw Error(err::kOverflow);
  return static_cast<float>(value);
}

double TextToDouble(std::string_view text) { return ParseLeadingNumber(text); }

bool TextToBool(std::string_view text) {
  if (IsNumericText(text)) return ParseLeadingNumber(text) != 0.0;
  return UpperCase(text) == "TRUE";
}

double RoundHalfEven(double value) {
  double rounded = std::round(value);  // half away from zero
  if (std::fabs(value - std::trunc(value)) == 0.5) rounded = 2.0 * std::round(value / 2.0);
  return rounded + 0.0;  // -0 becomes 0
}

double RoundToPlaces(double value, int places) {
  const double scale = std::pow(10.0, places);
  const double scaled = value * scale;
  if (!std::isfinite(scaled)) return value;  // too large to have such places
  return RoundHalfEven(scaled) / scale;
}

std::string WholeNumberText(double value) {
  if (!std::isfinite(value)) return ShortestText(value);
  std::array<char, 400> buffer{};
  const int length = std::snprintf(buffer.data(), buffer.size(), "%.0f", RoundHalfEven(value));
  return std::string(buffer.data(), static_cast<size_t>(std::max(length, 0)));
}

std::string IntegerText(int64_t value) { return std::to_string(value); }
std::string SingleText(float value) { return ShortestText(value); }
std::string DoubleText(double value) { return ShortestText(value); }

std::string Format00(int32_t value) {
  const long long magnitude = value < 0 ? -static_cast<long long>(value) : value;
  char digits[24];
  std::snprintf(digits, sizeof digits, "%s%02lld", value < 0 ? "-" : "", magnitude);
  return digits;
}

bool WildcardMatch(std::string_view text, std::string_view pattern) {
  std::vector<char32_t> t, p;
  for (size_t i = 0; i < text.size();) t.push_back(NextCodePoint(text, i));
  for (size_t i = 0; i < pattern.size();) p.push_back(NextCodePoint(pattern, i));
  // Greedy scan that backtracks only to the last "*": linear in practice, never exponential.
  size_t ti = 0, pi = 0, starP = std::string_view::npos, starT = 0;
  while (ti < t.size()) {
    if (pi < p.size() && (p[pi] == U'?' || (p[pi] != U'*' && p[pi] == t[ti]))) {
      ++ti, ++pi;
    } else if (pi < p.size() && p[pi] == U'*') {
      starP = pi++;
      starT = ti;
    } else if (starP != std::string_view::npos) {
      pi = starP + 1;
      ti = ++starT;
    } else {
      return false;
    }
  }
  while (pi < p.size() && p[pi] == U'*') ++pi;
  return pi == p.size();
}

std::string UpperCase(std::string_view text) {
  std::string out(text);
  for (size_t i = 0; i < text.size(); ++i) out[i] = static_cast<char>(FoldUpper(text, i));
  return out;
}

std::string LowerCase(std::string_view text) {
  std::string out(text);
  for (size_t i = 0; i < text.size(); ++i) out[i] = static_cast<char>(FoldLower(text, i));
  return out;
}

bool EqualsNoCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  if (a == b) return true;  // the usual case in key look-ups, without folding
  for (size_t i = 0; i < a.size(); ++i)
    if (FoldUpper(a, i) != FoldUpper(b, i)) return false;
  return true;
}

size_t HashNoCase(std::string_view text) {
  // FNV-1a over the folded bytes.
  uint64_t hash = 14695981039346656037ull;
  for (size_t i = 0; i < text.size(); ++i) {
    hash ^= FoldUpper(text, i);
    hash *= 1099511628211ull;
  }
  return static_cast<size_t>(hash);
}

int CompareNoCase(std::string_view a, std::string_view b) {
  size_t n = std::min(a.size(), b.size());
  for (size_t i = 0; i < n; ++i) {
    unsigned char x = FoldUpper(a, i), y = FoldUpper(b, i);
    if (x != y) return x < y ? -1 : 1;
  }
  return a.size() == b.size() ? 0 : (a.size() < b.size() ? -1 : 1);
}

std::string_view TrimBlanks(std::string_view text) {
  size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::string_view TrimRightBlanks(std::string_view text) {
  size_t last = text.find_last_not_of(' ');
  return last == std::string_view::npos ? std::string_view{} : text.substr(0, last + 1);
}

int Windows1252Code(std::string_view text) {
  if (text.empty()) return 0;
  size_t i = 0;
  char32_t code = NextCodePoint(text, i);
  if (code < 0x80 || (code >= 0xA0 && code <= 0xFF)) return static_cast<int>(code);
  for (size_t k = 0; k < kHighControls.size(); ++k)
    if (kHighControls[k] != 0 && kHighControls[k] == code) return static_cast<int>(0x80 + k);
  return '?';
}

std::string Windows1252Char(int code) {
  if (code < 0 || code > 255) throw Error(err::kInvalidProcedureCall);
  if (code >= 0x80 && code <= 0x9F && kHighControls[code - 0x80] != 0)
    return EncodeUtf8(kHighControls[code - 0x80]);
  return EncodeUtf8(static_cast<char32_t>(code));
}

}  // namespace corvale

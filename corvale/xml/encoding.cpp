#include "corvale/xml/internal/encoding.h"

#include <iconv.h>

#include <algorithm>
#include <cerrno>
#include <map>

namespace corvale::xml {

namespace {
std::string Lower(std::string_view s) {
  std::string r(s);
  for (char& c : r) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return r;
}

// windows-1252 0x80-0x9F. The five bytes the code page leaves undefined map to the C1
// control of the same number, so that every byte of a user's file survives a load and save.
constexpr uint16_t kCp1252High[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

void BuildReverse(SingleByteCodec& c) {
  std::fill(std::begin(c.fromLow), std::end(c.fromLow), int16_t{-1});
  c.fromHigh.clear();
  for (int b = 255; b >= 0; --b) {  // the lowest byte wins when two bytes share a character
    int32_t u = c.toUnicode[b];
    if (u < 0) continue;
    if (u < 256) {
      c.fromLow[u] = static_cast<int16_t>(b);
    } else {
      c.fromHigh.emplace_back(static_cast<uint32_t>(u), static_cast<uint8_t>(b));
    }
  }
  std::sort(c.fromHigh.begin(), c.fromHigh.end());
  c.fromHigh.erase(std::unique(c.fromHigh.begin(), c.fromHigh.end(),
                               [](auto& a, auto& b) { return a.first == b.first; }),
                   c.fromHigh.end());
}

SingleByteCodec* MakeBuiltin(int which) {
  auto* c = new SingleByteCodec();
  for (int b = 0; b < 256; ++b) {
    if (which == 0) {  // US-ASCII
      c->toUnicode[b] = b < 128 ? b : -1;
    } else if (which == 1) {  // ISO-8859-1
      c->toUnicode[b] = b;
    } else {  // windows-1252
      c->toUnicode[b] = (b >= 0x80 && b < 0xA0) ? kCp1252High[b - 0x80] : b;
    }
  }
  BuildReverse(*c);
  return c;
}

// Builds the table of a code page that iconv knows; null when it is not a single-byte,
// ASCII-based code page.
SingleByteCodec* MakeWithIconv(const std::string& name) {
  iconv_t cd = iconv_open("UTF-32LE", name.c_str());
  if (cd == reinterpret_cast<iconv_t>(-1)) return nullptr;
  auto* c = new SingleByteCodec();
  bool ok = true;
  for (int b = 0; b < 256 && ok; ++b) {
    iconv(cd, nullptr, nullptr, nullptr, nullptr);
    char in = static_cast<char>(b);
    char* inPtr = &in;
    size_t inLeft = 1;
    unsigned char out[16];
    char* outPtr = reinterpret_cast<char*>(out);
    size_t outLeft = sizeof out;
    size_t r = iconv(cd, &inPtr, &inLeft, &outPtr, &outLeft);
    if (r == static_cast<size_t>(-1)) {
      if (errno == EINVAL) ok = false;  // a lead byte of a multi-byte code page
      c->toUnicode[b] = -1;
      continue;
    }
    if (sizeof out - outLeft != 4) {
      ok = false;
      continue;
    }
    c->toUnicode[b] = static_cast<int32_t>(out[0] | (out[1] << 8) | (out[2] << 16) |
                                           (static_cast<uint32_t>(out[3]) << 24));
    if (b < 128 && c->toUnicode[b] != b) ok = false;
  }
  iconv_close(cd);
  if (!ok) {
    delete c;
    return nullptr;
  }
  BuildReverse(*c);
  return c;
}

// Kept for the whole process behind a plain pointer (reachable for leak checkers).
std::map<std::string, SingleByteCodec*>* g_codecs = nullptr;
}  // namespace

int SingleByteCodec::Encode(uint32_t cp) const {
  if (cp < 256) return fromLow[cp];
  auto it = std::lower_bound(fromHigh.begin(), fromHigh.end(), std::make_pair(cp, uint8_t{0}));
  if (it != fromHigh.end() && it->first == cp) return it->second;
  return -1;
}

const SingleByteCodec* FindSingleByteCodec(std::string_view name) {
  std::string key = Lower(name);
  if (!g_codecs) g_codecs = new std::map<std::string, SingleByteCodec*>();
  auto it = g_codecs->find(key);
  if (it != g_codecs->end()) return it->second;
  SingleByteCodec* c = nullptr;
  if (key == "us-ascii" || key == "ascii") {
    c = MakeBuiltin(0);
  } else if (key == "iso-8859-1" || key == "latin1" || key == "iso_8859-1" || key == "l1") {
    c = MakeBuiltin(1);
  } else if (key == "windows-1252" || key == "cp1252" || key == "x-cp1252") {
    c = MakeBuiltin(2);
  } else if (key.rfind("utf", 0) != 0 && key.rfind("ucs", 0) != 0) {
    c = MakeWithIconv(key);
  }
  (*g_codecs)[key] = c;
  return c;
}

OutputEncoding ResolveEncoding(std::string_view name) {
  std::string key = Lower(name);
  if (key.empty() || key == "utf-8" || key == "utf8") return {EncodingKind::Utf8, false, nullptr};
  if (key == "utf-16" || key == "utf16") return {EncodingKind::Utf16LE, true, nullptr};
  if (key == "utf-16le") return {EncodingKind::Utf16LE, false, nullptr};
  if (key == "utf-16be") return {EncodingKind::Utf16BE, false, nullptr};
  const SingleByteCodec* c = FindSingleByteCodec(key);
  if (!c) c = FindSingleByteCodec("us-ascii");
  return {EncodingKind::SingleByte, false, c};
}

std::string DeclaredEncoding(std::string_view data) {
  size_t p = data.find("encoding");
  if (p == std::string_view::npos) return {};
  p += 8;
  while (p < data.size() &&
         (data[p] == ' ' || data[p] == '\t' || data[p] == '\r' || data[p] == '\n'))
    ++p;
  if (p >= data.size() || data[p] != '=') return {};
  ++p;
  while (p < data.size() &&
         (data[p] == ' ' || data[p] == '\t' || data[p] == '\r' || data[p] == '\n'))
    ++p;
  if (p >= data.size() || (data[p] != '"' && data[p] != '\'')) return {};
  char quote = data[p++];
  size_t end = data.find(quote, p);
  if (end == std::string_view::npos) return {};
  return std::string(data.substr(p, end - p));
}

uint32_t DecodeUtf8(std::string_view s, size_t& i) {
  auto byte = [&](size_t k) { return static_cast<unsigned char>(s[k]); };
  unsigned char c = byte(i);
  if (c < 0x80) {
    ++i;
    return c;
  }
  size_t len;
  uint32_t cp;
  uint32_t min;
  if ((c & 0xE0) == 0xC0) {
    len = 2, cp = c & 0x1F, min = 0x80;
  } else if ((c & 0xF0) == 0xE0) {
    len = 3, cp = c & 0x0F, min = 0x800;
  } else if ((c & 0xF8) == 0xF0) {
    len = 4, cp = c & 0x07, min = 0x10000;
  } else {
    ++i;
    return 0xFFFD;
  }
  if (i + len > s.size()) {
    ++i;
    return 0xFFFD;
  }
  for (size_t k = 1; k < len; ++k) {
    unsigned char cc = byte(i + k);
    if ((cc & 0xC0) != 0x80) {
      ++i;
      return 0xFFFD;
    }
    cp = (cp << 6) | (cc & 0x3F);
  }
  if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
    ++i;
    return 0xFFFD;
  }
  i += len;
  return cp;
}

void AppendUtf8(std::string& out, uint32_t cp) {
  if (cp < 0x80) {
    out += static_cast<char>(cp);
  } else if (cp < 0x800) {
    out += static_cast<char>(0xC0 | (cp >> 6));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    out += static_cast<char>(0xE0 | (cp >> 12));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (cp >> 18));
    out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  }
}

std::string Utf8ToUtf16(std::string_view utf8, bool bigEndian, bool bom) {
  std::string out;
  out.reserve(utf8.size() * 2 + 2);
  auto unit = [&](uint32_t u) {
    char hi = static_cast<char>(u >> 8), lo = static_cast<char>(u & 0xFF);
    if (bigEndian) {
      out += hi;
      out += lo;
    } else {
      out += lo;
      out += hi;
    }
  };
  if (bom) unit(0xFEFF);
  for (size_t i = 0; i < utf8.size();) {
    uint32_t cp = DecodeUtf8(utf8, i);
    if (cp >= 0x10000) {
      cp -= 0x10000;
      unit(0xD800 | (cp >> 10));
      unit(0xDC00 | (cp & 0x3FF));
    } else {
      unit(cp);
    }
  }
  return out;
}

std::string BytesToUtf8(std::string_view bytes, std::string_view encodingName) {
  std::string key = Lower(encodingName);
  std::string out;
  if (key == "utf-16le" || key == "utf-16be") {
    bool be = key == "utf-16be";
    for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
      auto b0 = static_cast<unsigned char>(bytes[i]), b1 = static_cast<unsigned char>(bytes[i + 1]);
      uint32_t u = be ? (b0 << 8 | b1) : (b1 << 8 | b0);
      if (u >= 0xD800 && u < 0xDC00 && i + 3 < bytes.size()) {
        auto c0 = static_cast<unsigned char>(bytes[i + 2]);
        auto c1 = static_cast<unsigned char>(bytes[i + 3]);
        uint32_t low = be ? (c0 << 8 | c1) : (c1 << 8 | c0);
        if (low >= 0xDC00 && low < 0xE000) {
          u = 0x10000 + ((u - 0xD800) << 10) + (low - 0xDC00);
          i += 2;
        }
      }
      AppendUtf8(out, u);
    }
    return out;
  }
  const SingleByteCodec* c = nullptr;
  if (!key.empty() && key != "utf-8" && key != "utf8") c = FindSingleByteCodec(key);
  if (!c) {
    for (size_t i = 0; i < bytes.size();) AppendUtf8(out, DecodeUtf8(bytes, i));
    return out;
  }
  for (unsigned char b : bytes) {
    int32_t u = c->toUnicode[b];
    AppendUtf8(out, u < 0 ? 0xFFFD : static_cast<uint32_t>(u));
  }
  return out;
}

}  // namespace corvale::xml

// Character encodings of XML documents: single-byte code pages (windows-1252 built in, others
// through iconv), the encoding a save writes, and UTF-8 helpers. Internal to the XML tree.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace corvale::xml {

// A single-byte code page whose bytes 0x00-0x7F are ASCII.
struct SingleByteCodec {
  int32_t toUnicode[256];                              // -1: the byte is not used
  int16_t fromLow[256];                                // code point below 256 -> byte, -1: none
  std::vector<std::pair<uint32_t, uint8_t>> fromHigh;  // sorted by code point
  // The byte for a code point, -1 when the code page cannot hold it.
  int Encode(uint32_t codePoint) const;
};

// The code page of that name (case-insensitive), or null when it is unknown or not a
// single-byte code page. Tables are built once and kept.
const SingleByteCodec* FindSingleByteCodec(std::string_view name);

enum class EncodingKind : uint8_t { Utf8, Utf16LE, Utf16BE, SingleByte };

struct OutputEncoding {
  EncodingKind kind = EncodingKind::Utf8;
  bool bom = false;
  const SingleByteCodec* codec = nullptr;  // SingleByte only
};

// How a save writes the named encoding. A name this library cannot write falls back to
// US-ASCII with character references, which any ASCII-based encoding reads the same.
OutputEncoding ResolveEncoding(std::string_view name);

// The encoding named by an "xml" declaration's data; empty when it names none.
std::string DeclaredEncoding(std::string_view declarationData);

// Decodes one UTF-8 sequence at s[i] (advancing i); an invalid sequence gives U+FFFD and
// skips one byte.
uint32_t DecodeUtf8(std::string_view s, size_t& i);
void AppendUtf8(std::string& out, uint32_t codePoint);
std::string Utf8ToUtf16(std::string_view utf8, bool bigEndian, bool bom);
// Bytes of a document in the given encoding to UTF-8, for error reports.
std::string BytesToUtf8(std::string_view bytes, std::string_view encodingName);

}  // namespace corvale::xml

// Builds a document's tree from bytes with expat. Internal to the XML tree.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "corvale/xml/internal/node.h"

namespace corvale::xml {

// Input is read this many bytes at a time, so that a load never holds a second copy of a file.
inline constexpr size_t kParseChunk = size_t{1} << 20;
// The most a load reads from a source that does not know its size (a pipe, a device): more is
// error 75 (path/file access) with a reason that names the limit.
inline constexpr size_t kStreamLimit = size_t{1} << 30;

// The bytes of a document, handed out piece by piece.
class ByteSource {
 public:
  virtual ~ByteSource() = default;
  // The next bytes, at most n, valid until the next call; empty at the end or on a failure.
  virtual std::string_view Next(size_t n) = 0;
  // Whether a read failed: the parse then stops and leaves the document as it was.
  virtual bool Failed() const { return false; }
  // The number of bytes, when known before reading.
  virtual std::optional<size_t> Size() const { return std::nullopt; }
};

// Replaces the children of doc with the parsed document, reading the source once. On failure doc is
// unchanged and error tells why, except after a failed read, which leaves error to the caller. url
// is recorded in the error.
bool ParseDocument(NodeImpl* doc, ByteSource& source, const std::string& url, ParseError& error);
bool ParseDocument(NodeImpl* doc, std::string_view bytes, const std::string& url,
                   ParseError& error);

// Test-only. Input behind the parse is released in steps of granularity bytes (a power of two,
// also the alignment), right behind the current start tag, and is overwritten with zeros (and
// poisoned under AddressSanitizer) instead of being handed back, so that tests and the fuzz
// target reach the release on small inputs. SIZE_MAX: never release. 0: the default (system
// pages, handed back every megabyte, 64 KiB behind the parse).
void SetInputReleaseForTesting(size_t granularity);
// Bytes of input behind the parse handed back (or zeroed, as above) by all loads so far.
size_t ReleasedInputBytes();
// Test-only: the most a load reads from a source of unknown size; 0 restores kStreamLimit.
void SetStreamLimitForTesting(size_t bytes);

}  // namespace corvale::xml

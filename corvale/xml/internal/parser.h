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

// The bytes of a document, handed out piece by piece.
class ByteSource {
 public:
  virtual ~ByteSource() = default;
  // The next bytes, at most n, valid until the next call; empty at the end or on a failure.
  virtual std::string_view Next(size_t n) = 0;
  // Whether a read failed: the parse then stops and leaves the document as it was.
  virtual bool Failed() const { return false; }
  // The whole input again, for the offending line of a parse error.
  virtual std::string_view All() = 0;
  // The number of bytes, when known before reading.
  virtual std::optional<size_t> Size() const { return std::nullopt; }
  // Reads again from the start.
  virtual void Rewind() = 0;
};

// Replaces the children of doc with the parsed document. On failure doc is unchanged and
// error tells why, except after a failed read, which leaves error to the caller. url is
// recorded in the error.
bool ParseDocument(NodeImpl* doc, ByteSource& source, const std::string& url, ParseError& error);
bool ParseDocument(NodeImpl* doc, std::string_view bytes, const std::string& url,
                   ParseError& error);

}  // namespace corvale::xml

#include "corvale/xml/internal/parser.h"

#include <expat.h>
#include <sys/mman.h>
#include <unistd.h>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

#if defined(__SANITIZE_ADDRESS__)
#define CORVALE_XML_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define CORVALE_XML_ASAN 1
#endif
#endif
#ifdef CORVALE_XML_ASAN
#include <sanitizer/asan_interface.h>
#endif

#include <algorithm>
#include <bit>
#include <climits>
#include <cstring>
#include <exception>
#include <memory>
#include <optional>
#include <vector>

#include "corvale/core/error.h"
#include "corvale/xml/internal/encoding.h"

namespace corvale::xml {

namespace {

// Code pages expat does not know itself (windows-1252 and the like) come through here.
int XMLCALL UnknownEncoding(void*, const XML_Char* name, XML_Encoding* info) {
  const SingleByteCodec* codec = FindSingleByteCodec(name);
  if (!codec) return XML_STATUS_ERROR;
  for (int b = 0; b < 256; ++b) info->map[b] = codec->toUnicode[b];
  info->data = nullptr;
  info->convert = nullptr;
  info->release = nullptr;
  return XML_STATUS_OK;
}

// The single-byte code page that the document's declaration names, if any.
const SingleByteCodec* DeclaredCodec(std::string_view bytes) {
  if (bytes.size() < 6 || bytes.substr(0, 5) != "<?xml" ||
      (bytes[5] != ' ' && bytes[5] != '\t' && bytes[5] != '\r' && bytes[5] != '\n')) {
    return nullptr;
  }
  size_t end = bytes.find("?>");
  if (end == std::string_view::npos || end > 1024) return nullptr;
  std::string name = DeclaredEncoding(bytes.substr(5, end - 5));
  if (name.empty()) return nullptr;
  return FindSingleByteCodec(name);
}

size_t Utf8Length(int32_t u) { return u < 0x80 ? 1 : u < 0x800 ? 2 : u < 0x10000 ? 3 : 4; }

size_t MaxUtf8Length(const SingleByteCodec& codec) {
  size_t most = 1;
  for (int32_t u : codec.toUnicode) most = std::max(most, u < 0 ? 1 : Utf8Length(u));
  return most;
}

// Converts single-byte text to UTF-8 into out, which has room for MaxUtf8Length bytes for
// each byte of in.
size_t Transcode(std::string_view in, char* out, const SingleByteCodec& codec) {
  size_t o = 0;
  const auto* p = reinterpret_cast<const unsigned char*>(in.data());
  size_t n = in.size();
  for (size_t i = 0; i < n;) {
    // Runs of ASCII go sixteen or eight bytes at a time.
#ifdef __SSE2__
    while (i + 16 <= n) {
      __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i));
      if (_mm_movemask_epi8(v)) break;
      _mm_storeu_si128(reinterpret_cast<__m128i*>(out + o), v);
      i += 16;
      o += 16;
    }
#endif
    while (i + 8 <= n) {
      uint64_t word;
      std::memcpy(&word, p + i, 8);
      if (word & 0x8080808080808080ull) break;
      std::memcpy(out + o, p + i, 8);
      i += 8;
      o += 8;
    }
    if (i >= n) break;
    unsigned char b = p[i++];
    int32_t u = b < 0x80 ? b : codec.toUnicode[b];
    if (u < 0) {
      out[o++] = static_cast<char>(b);  // not UTF-8 either: expat reports it where it stands
    } else if (u < 0x80) {
      out[o++] = static_cast<char>(u);
    } else if (u < 0x800) {
      out[o++] = static_cast<char>(0xC0 | (u >> 6));
      out[o++] = static_cast<char>(0x80 | (u & 0x3F));
    } else if (u < 0x10000) {
      out[o++] = static_cast<char>(0xE0 | (u >> 12));
      out[o++] = static_cast<char>(0x80 | ((u >> 6) & 0x3F));
      out[o++] = static_cast<char>(0x80 | (u & 0x3F));
    } else {
      out[o++] = static_cast<char>(0xF0 | (u >> 18));
      out[o++] = static_cast<char>(0x80 | ((u >> 12) & 0x3F));
      out[o++] = static_cast<char>(0x80 | ((u >> 6) & 0x3F));
      out[o++] = static_cast<char>(0x80 | (u & 0x3F));
    }
  }
  return o;
}

// ---- Lines and columns ---------------------------------------------------------------------
// How the text that expat reads holds its characters. Where the input behind the parse was
// handed back, an error's line and column are counted here, the way expat counts them: a line
// ends at LF, CR or CR LF, and a column is one character.
enum class Units : uint8_t { Utf8, Single, Utf16LE, Utf16BE };

bool Wide(Units u) { return u == Units::Utf16LE || u == Units::Utf16BE; }

// Whether the unit at p[i] is the ASCII character c.
bool IsChar(const char* p, size_t i, Units u, char c) {
  if (!Wide(u)) return p[i] == c;
  size_t low = u == Units::Utf16BE ? 1 : 0;
  return p[i + low] == c && p[i + 1 - low] == 0;
}

// Line breaks in p[from, to).
size_t CountBreaks(const char* p, size_t from, size_t to, Units u) {
  size_t breaks = 0;
  bool afterCr = false;
  size_t i = from;
  if (Wide(u)) {
    for (; i + 2 <= to; i += 2) {
      bool cr = IsChar(p, i, u, '\r');
      if (cr || (!afterCr && IsChar(p, i, u, '\n'))) ++breaks;
      afterCr = cr;
    }
    return breaks;
  }
#ifdef __SSE2__
  // Sixteen bytes at a time: this runs over every byte handed back during a load.
  const __m128i lfs = _mm_set1_epi8('\n'), crs = _mm_set1_epi8('\r');
  unsigned carry = 0;  // a CR ended the last block
  for (; i + 16 <= to; i += 16) {
    __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i));
    auto lf = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(v, lfs)));
    auto cr = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(v, crs)));
    breaks += static_cast<size_t>(std::popcount(cr) + std::popcount(lf & ~((cr << 1) | carry)));
    carry = cr >> 15;
  }
  afterCr = carry != 0;
#endif
  for (; i < to; ++i) {
    bool cr = p[i] == '\r';
    if (cr || (!afterCr && p[i] == '\n')) ++breaks;
    afterCr = cr;
  }
  return breaks;
}

// Where the line holding p[to] starts, looking back no further than from: after the last LF
// (or, with crToo, CR) before it. to - from is whole units.
size_t LineStart(const char* p, size_t from, size_t to, Units u, bool crToo) {
  if (!Wide(u) && !crToo) {
    const void* lf = memrchr(p + from, '\n', to - from);
    return lf ? static_cast<size_t>(static_cast<const char*>(lf) - p) + 1 : from;
  }
  const size_t w = Wide(u) ? 2 : 1;
  for (size_t i = to; i >= from + w; i -= w) {
    if (IsChar(p, i - w, u, '\n') || (crToo && IsChar(p, i - w, u, '\r'))) return i;
  }
  return from;
}

// Characters in p[from, to).
size_t Columns(const char* p, size_t from, size_t to, Units u) {
  size_t n = 0;
  switch (u) {
    case Units::Single:
      return to - from;
    case Units::Utf8:
      for (size_t i = from; i < to; ++i) n += (static_cast<unsigned char>(p[i]) & 0xC0) != 0x80;
      return n;
    case Units::Utf16LE:
    case Units::Utf16BE:
      for (size_t i = from + (u == Units::Utf16LE ? 1 : 0); i < to; i += 2) {
        auto high = static_cast<unsigned char>(p[i]);
        n += high < 0xDC || high > 0xDF;  // the second half of a surrogate pair adds none
      }
      return n;
  }
  return n;
}

// The text, in UTF-8, of the line of p[from, end) that holds position at: from the last LF
// before it (or from) to the next line break (or end). atStart: from is the input's start,
// where a byte order mark is left out.
std::string SourceLine(const char* p, size_t from, size_t end, size_t at, Units u,
                       std::string_view encoding, bool atStart) {
  const size_t w = Wide(u) ? 2 : 1;
  at = std::min(std::max(at, from), end);
  at = from + (at - from) / w * w;
  size_t start = LineStart(p, from, at, u, false);
  size_t stop = at;
  while (stop + w <= end && !IsChar(p, stop, u, '\n') && !IsChar(p, stop, u, '\r')) stop += w;
  std::string_view line(p + start, stop - start);
  if (atStart && start == from) {
    std::string_view bom = Wide(u) ? (u == Units::Utf16LE ? "\xFF\xFE" : "\xFE\xFF")
                                   : std::string_view("\xEF\xBB\xBF");
    if (line.substr(0, bom.size()) == bom) line.remove_prefix(bom.size());
  }
  if (Wide(u)) return BytesToUtf8(line, u == Units::Utf16BE ? "UTF-16BE" : "UTF-16LE");
  return BytesToUtf8(line, encoding);
}

// The units of the input as its first bytes show them; byte-wide input is refined by the
// declared encoding once that is known.
Units UnitsOf(std::string_view head) {
  if (head.size() < 2) return Units::Utf8;
  auto b0 = static_cast<unsigned char>(head[0]), b1 = static_cast<unsigned char>(head[1]);
  if ((b0 == 0xFF && b1 == 0xFE) || (b0 == '<' && b1 == 0)) return Units::Utf16LE;
  if ((b0 == 0xFE && b1 == 0xFF) || (b0 == 0 && b1 == '<')) return Units::Utf16BE;
  return Units::Utf8;
}

bool IsUtfName(std::string_view name) {
  std::string lower;
  for (char c : name) lower += static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
  return lower.empty() || lower.rfind("utf", 0) == 0;
}

// ---- Test-only tuning ------------------------------------------------------------------------
struct ReleaseTuning {
  size_t page = 0;                   // 0: the system's page size
  size_t step = size_t{1} << 20;     // release every this many bytes of progress
  size_t margin = size_t{64} << 10;  // keep this much behind the current start tag
  bool simulate = false;             // zero and poison instead of handing pages back
};
ReleaseTuning g_release;
size_t g_streamLimit = kStreamLimit;
size_t g_releasedBytes = 0;

#ifdef CORVALE_XML_ASAN
void Poison(const void* p, size_t n) { __asan_poison_memory_region(p, n); }
void Unpoison(const void* p, size_t n) { __asan_unpoison_memory_region(p, n); }
#else
void Poison(const void*, size_t) {}
void Unpoison(const void*, size_t) {}
#endif

// Expat's memory. Its input buffer holds a whole document; for large blocks, huge pages
// spare the thousands of page faults that touching a fresh buffer otherwise costs.
struct BlockHeader {
  size_t size;
  size_t mapped;
};
constexpr size_t kHugeBlock = size_t{4} << 20;

void* XmlMalloc(size_t n) {
  void* base;
  bool mapped = n >= kHugeBlock;
  if (mapped) {
    base = mmap(nullptr, n + sizeof(BlockHeader), PROT_READ | PROT_WRITE,
                MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (base == MAP_FAILED) return nullptr;
    madvise(base, n + sizeof(BlockHeader), MADV_HUGEPAGE);
  } else {
    base = std::malloc(n + sizeof(BlockHeader));
    if (!base) return nullptr;
  }
  auto* h = static_cast<BlockHeader*>(base);
  h->size = n;
  h->mapped = mapped;
  return h + 1;
}

void XmlFree(void* p) {
  if (!p) return;
  BlockHeader* h = static_cast<BlockHeader*>(p) - 1;
  if (h->mapped) {
    munmap(h, h->size + sizeof(BlockHeader));
  } else {
    std::free(h);
  }
}

void* XmlRealloc(void* p, size_t n) {
  if (!p) return XmlMalloc(n);
  BlockHeader* h = static_cast<BlockHeader*>(p) - 1;
  if (!h->mapped && n < kHugeBlock) {
    auto* grown = static_cast<BlockHeader*>(std::realloc(h, n + sizeof(BlockHeader)));
    if (!grown) return nullptr;
    grown->size = n;
    return grown + 1;
  }
  void* q = XmlMalloc(n);
  if (!q) return nullptr;
  std::memcpy(q, p, std::min(n, h->size));
  XmlFree(p);
  return q;
}

const XML_Memory_Handling_Suite kMemory = {XmlMalloc, XmlRealloc, XmlFree};

bool IsBlank(std::string_view s) {
  for (char c : s) {
    if (c != ' ' && c != '\t' && c != '\n' && c != '\r') return false;
  }
  return true;
}

enum class Next { Element, End, Other };

struct Frame {
  NodeImpl* node;
  const Name* lastChild;  // name of the last child element so far
  bool hasElement;
  bool pendingBlank;  // holds blank text that goes if an element child follows
  size_t at;          // where its start tag stands in the whole-input buffer
};

bool SameName(const Name* n, const char* s) {
  const char* d = n->data;
  while (*d && *d == *s) ++d, ++s;
  return *d == *s;
}

class Builder {
 public:
  explicit Builder(NodeImpl* doc) : doc_(doc), root_(NewNode(NodeType::Document, doc)) {
    parser_ = XML_ParserCreate_MM(nullptr, &kMemory, nullptr);
    if (!parser_) {
      DestroySubtree(root_);
      throw std::bad_alloc();
    }
    XML_SetUserData(parser_, this);
    XML_SetElementHandler(parser_, &Builder::OnStart, &Builder::OnEnd);
    XML_SetCharacterDataHandler(parser_, &Builder::OnText);
    XML_SetCdataSectionHandler(parser_, &Builder::OnStartCData, &Builder::OnEndCData);
    XML_SetCommentHandler(parser_, &Builder::OnComment);
    XML_SetProcessingInstructionHandler(parser_, &Builder::OnPI);
    XML_SetXmlDeclHandler(parser_, &Builder::OnDecl);
    // No external entity or DTD is ever fetched: there is no external entity handler, and
    // parameter entities are not parsed. Expat's amplification limits stay at their defaults.
    XML_SetParamEntityParsing(parser_, XML_PARAM_ENTITY_PARSING_NEVER);
    XML_SetUnknownEncodingHandler(parser_, &UnknownEncoding, nullptr);
    stack_.reserve(64);
  }
  ~Builder() {
    if (base_ && tuning_.simulate) Unpoison(base_, used_);
    XML_ParserFree(parser_);
    if (root_) DestroySubtree(root_);
  }

  // Reads the source once. Input of known size goes whole into one expat buffer for one final
  // parse, which spares expat the line bookkeeping it does between pieces (a sixth of the
  // load); the input behind the parse is handed back to the system as the tree grows
  // (Release). Input of unknown size, too large for expat's sizes, or longer than its size
  // said, is parsed in pieces: expat keeps only the unparsed tail of a piece between calls,
  // and its positions run on across them.
  bool Parse(ByteSource& source, const std::string& url, ParseError& error) {
    const std::optional<size_t> size = source.Size();
    const size_t total = size.value_or(0);
    std::string_view piece = source.Next(total ? std::min(kParseChunk, total) : kParseChunk);
    if (source.Failed()) return false;
    Start(piece);
    size_t read = 0;
    XML_Status status = XML_STATUS_OK;
    if (total > 0 && total <= kWholeLimit / maxUtf8_) {
      auto* buffer = static_cast<char*>(XML_GetBuffer(parser_, static_cast<int>(total * maxUtf8_)));
      if (!buffer) throw std::bad_alloc();
      size_t used = 0;
      for (;;) {
        used += Feed(piece, buffer + used);
        read += piece.size();
        // Past the announced size, one more byte tells whether the file grew meanwhile.
        piece = source.Next(read < total ? std::min(kParseChunk, total - read) : 1);
        if (piece.empty() || read >= total) break;
      }
      if (source.Failed()) return false;
      if (piece.empty()) return ParseAll(buffer, used, url, error);
      Remember({buffer, used});
      status = XML_ParseBuffer(parser_, static_cast<int>(used), XML_FALSE);
    }
    // UTF-8 and UTF-16 sequences split between two pieces are expat's to join; the code pages
    // converted here have one byte a character.
    while (status == XML_STATUS_OK && !piece.empty()) {
      read += piece.size();
      if (!size && read > g_streamLimit) return TooLong(url, error);
      if (codec_) {
        void* buffer = XML_GetBuffer(parser_, static_cast<int>(piece.size() * maxUtf8_));
        if (!buffer) throw std::bad_alloc();
        size_t n = Transcode(piece, static_cast<char*>(buffer), *codec_);
        Remember({static_cast<char*>(buffer), n});
        status = XML_ParseBuffer(parser_, static_cast<int>(n), XML_FALSE);
      } else {
        Remember(piece);
        status = XML_Parse(parser_, piece.data(), static_cast<int>(piece.size()), XML_FALSE);
      }
      // Nothing is read after expat has failed: a device may never end.
      if (status == XML_STATUS_OK) piece = source.Next(kParseChunk);
    }
    if (failure_) std::rethrow_exception(failure_);
    if (source.Failed()) return false;
    if (status == XML_STATUS_OK) status = XML_Parse(parser_, nullptr, 0, XML_TRUE);
    return Finish(status, url, error);
  }

  // The largest buffer that expat's sizes (int, grown by doubling) can hold.
  static constexpr size_t kWholeLimit = INT_MAX / 2;

 private:
  static Builder& Self(void* data) { return *static_cast<Builder*>(data); }

  // head: the first bytes of the input.
  void Start(std::string_view head) {
    units_ = UnitsOf(head);
    // Expat reads code pages it does not know one character at a time through a callback; a
    // table-driven conversion to UTF-8 on the way in is several times faster.
    codec_ = DeclaredCodec(head);
    if (codec_) {
      XML_SetEncoding(parser_, "UTF-8");
      maxUtf8_ = MaxUtf8Length(*codec_);
    }
  }

  // Copies or converts a piece of input to out; returns the bytes written.
  size_t Feed(std::string_view piece, char* out) {
    if (codec_) return Transcode(piece, out, *codec_);
    std::memcpy(out, piece.data(), piece.size());
    return piece.size();
  }

  bool ParseAll(char* buffer, size_t used, const std::string& url, ParseError& error) {
    base_ = buffer;
    used_ = used;
    released_ = AlignUp(reinterpret_cast<uintptr_t>(buffer), Page());
    nextRelease_ = tuning_.step;
    return Finish(XML_ParseBuffer(parser_, static_cast<int>(used), XML_TRUE), url, error);
  }

  bool Finish(XML_Status status, const std::string& url, ParseError& error) {
    if (failure_) std::rethrow_exception(failure_);
    if (status != XML_STATUS_OK) {
      Report(url, error);
      return false;
    }
    Commit();
    error = ParseError();
    return true;
  }

  uintptr_t Page() const {
    static const auto system = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    return tuning_.page ? tuning_.page : system;
  }
  static uintptr_t AlignUp(uintptr_t p, uintptr_t page) { return (p + page - 1) & ~(page - 1); }

  // Hands back the pages of the whole-input buffer that lie well behind the parse. Expat does
  // not read parsed input again, except the raw names of the open elements, which it compares
  // with their end tags: the pages holding those stay. So does the line the parse is on, and
  // the lines handed back are counted, for the position of an error.
  void Release(size_t at) {
    nextRelease_ = at + tuning_.step;
    if (at < tuning_.margin) return;
    size_t limit = at - tuning_.margin;
    if (Wide(units_)) limit &= ~size_t{1};
    size_t lineStart = LineStart(base_, countedTo_, limit, units_, false);
    if (lineStart > countedTo_) {
      linesBefore_ += CountBreaks(base_, countedTo_, lineStart, units_);
      countedTo_ = lineStart;
    }
    uintptr_t page = Page();
    auto base = reinterpret_cast<uintptr_t>(base_);
    uintptr_t end = (base + countedTo_) & ~(page - 1);
    uintptr_t from = released_;
    for (const Frame& f : stack_) {
      // The raw name follows "<" and is at most twice its UTF-8 length (UTF-16 input).
      uintptr_t keepFrom = (base + f.at) & ~(page - 1);
      uintptr_t keepTo = AlignUp(base + f.at + 2 * (f.node->name->size + 2), page);
      if (keepTo <= from) continue;
      if (keepFrom >= end) break;
      if (keepFrom > from) Discard(from, keepFrom);
      from = keepTo;
    }
    if (from < end) Discard(from, end);
    released_ = std::max(released_, end);
  }
  void Discard(uintptr_t from, uintptr_t to) {
    auto* p = reinterpret_cast<char*>(from);
    if (tuning_.simulate) {
      // What a page handed back reads as, and under AddressSanitizer a read of it is caught.
      std::memset(p, 0, to - from);
      Poison(p, to - from);
    } else if (madvise(p, to - from, MADV_DONTNEED) != 0) {
      return;
    }
    releasedAny_ = true;
    g_releasedBytes += to - from;
  }

  // Keeps the last two pieces' worth of what expat was given, for the text of an error's line.
  void Remember(std::string_view fed) {
    const size_t keep = 2 * kParseChunk;
    if (fed.size() >= keep) {
      windowStart_ += window_.size() + fed.size() - keep;
      window_.assign(fed.substr(fed.size() - keep));
      return;
    }
    if (window_.size() + fed.size() > keep) {
      size_t drop = window_.size() + fed.size() - keep;
      window_.erase(0, drop);
      windowStart_ += drop;
    }
    window_.append(fed);
  }

  // Exceptions must not cross expat's C frames: keep the first and stop.
  template <typename F>
  void Guard(F&& f) {
    if (stopped_) return;
    try {
      f();
    } catch (...) {
      failure_ = std::current_exception();
      Stop();
    }
  }
  void Stop() {
    stopped_ = true;
    XML_StopParser(parser_, XML_FALSE);
  }

  NodeImpl* Current() { return stack_.empty() ? root_ : stack_.back().node; }

  // Indentation (blank text beside an element) is dropped; all other text is kept exactly.
  void Flush(Next next) {
    if (text_.empty()) return;
    if (stack_.empty()) return text_.clear();
    Frame& f = stack_.back();
    bool blank = IsBlank(text_);
    if (blank && (f.hasElement || next == Next::Element)) {
      text_.clear();
      return;
    }
    if (next == Next::End && !f.node->first) {
      f.node->value.assign(text_);  // the element's only child: kept inline
    } else {
      NodeImpl* t = NewText(NodeType::Text, doc_, text_);
      LinkLast(f.node, t);
      if (blank) {
        t->flags |= kPendingWhitespace;
        f.pendingBlank = true;
      }
    }
    text_.clear();
  }

  static void ClearPending(Frame& f, bool drop) {
    for (NodeImpl* c = f.node->first; c;) {
      NodeImpl* next = c->next;
      if (c->flags & kPendingWhitespace) {
        if (drop) {
          Drop(c);
        } else {
          c->flags &= static_cast<uint8_t>(~kPendingWhitespace);
        }
      }
      c = next;
    }
    f.pendingBlank = false;
  }

  static void XMLCALL OnStart(void* data, const XML_Char* name, const XML_Char** atts) {
    Builder& b = Self(data);
    b.Guard([&] {
      const Name** hint = &b.rootHint_;
      if (!b.stack_.empty()) {
        b.Flush(Next::Element);
        Frame& f = b.stack_.back();
        f.hasElement = true;
        if (f.pendingBlank) ClearPending(f, true);
        hint = f.lastChild ? &f.lastChild->nextHint : &f.node->name->childHint;
      }
      if (b.stack_.size() >= static_cast<size_t>(kMaxDepth)) {
        b.tooDeep_ = true;
        b.Stop();
        return;
      }
      const Name* interned = *hint;
      if (!interned || !SameName(interned, name)) *hint = interned = Intern(name);
      if (!b.stack_.empty()) b.stack_.back().lastChild = interned;
      NodeImpl* e = NewNode(NodeType::Element, b.doc_);
      e->name = interned;
      LinkLast(b.Current(), e);
      Attr** tail = reinterpret_cast<Attr**>(&e->extra);
      for (size_t i = 0; atts[i]; i += 2) {
        auto* a = new Attr{Intern(atts[i]), {}, nullptr};
        a->value.init();
        *tail = a;
        tail = &a->next;
        a->value.assign(atts[i + 1]);
      }
      size_t at = 0;
      if (b.base_) at = static_cast<size_t>(XML_GetCurrentByteIndex(b.parser_));
      b.stack_.push_back({e, nullptr, false, false, at});
      if (b.base_ && at >= b.nextRelease_) b.Release(at);
    });
  }

  static void XMLCALL OnEnd(void* data, const XML_Char*) {
    Builder& b = Self(data);
    b.Guard([&] {
      b.Flush(Next::End);
      Frame& f = b.stack_.back();
      if (f.pendingBlank) ClearPending(f, false);
      b.stack_.pop_back();
    });
  }

  static void XMLCALL OnText(void* data, const XML_Char* s, int len) {
    Builder& b = Self(data);
    b.Guard([&] { (b.inCData_ ? b.cdata_ : b.text_).append(s, static_cast<size_t>(len)); });
  }

  static void XMLCALL OnStartCData(void* data) {
    Builder& b = Self(data);
    b.Guard([&] {
      if (!b.stack_.empty()) b.Flush(Next::Other);
      b.inCData_ = true;
    });
  }

  static void XMLCALL OnEndCData(void* data) {
    Builder& b = Self(data);
    b.Guard([&] {
      b.inCData_ = false;
      LinkLast(b.Current(), NewText(NodeType::CData, b.doc_, b.cdata_));
      b.cdata_.clear();
    });
  }

  static void XMLCALL OnComment(void* data, const XML_Char* text) {
    Builder& b = Self(data);
    b.Guard([&] {
      if (!b.stack_.empty()) b.Flush(Next::Other);
      LinkLast(b.Current(), NewText(NodeType::Comment, b.doc_, text));
    });
  }

  static void XMLCALL OnPI(void* data, const XML_Char* target, const XML_Char* text) {
    Builder& b = Self(data);
    b.Guard([&] {
      if (!b.stack_.empty()) b.Flush(Next::Other);
      NodeImpl* pi = NewText(NodeType::ProcessingInstruction, b.doc_, text);
      pi->name = Intern(target);
      LinkLast(b.Current(), pi);
    });
  }

  // The declaration becomes an "xml" instruction whose data is the text as written, so that
  // its exact form (blanks, quotes) survives a load and save.
  static void XMLCALL OnDecl(void* data, const XML_Char*, const XML_Char* encoding, int) {
    Builder& b = Self(data);
    b.Guard([&] {
      if (encoding) b.sourceEncoding_ = encoding;
      int offset = 0, size = 0;
      const char* context = XML_GetInputContext(b.parser_, &offset, &size);
      int count = XML_GetCurrentByteCount(b.parser_);
      std::string raw;
      if (context && offset >= 0 && count > 0 && count <= size - offset) {
        for (char c : std::string_view(context + offset, static_cast<size_t>(count))) {
          if (c != '\0') raw += c;  // the declaration is ASCII; UTF-16 adds zero bytes
        }
      }
      std::string_view d = raw;
      if (d.substr(0, 5) == "<?xml") d.remove_prefix(5);
      if (d.size() >= 2 && d.substr(d.size() - 2) == "?>") d.remove_suffix(2);
      while (!d.empty() && (d[0] == ' ' || d[0] == '\t' || d[0] == '\r' || d[0] == '\n')) {
        d.remove_prefix(1);
      }
      NodeImpl* pi = NewText(NodeType::ProcessingInstruction, b.doc_, d);
      pi->name = Intern("xml");
      LinkLast(b.root_, pi);
    });
  }

  void Commit() {
    // The old content leaves the document: see ChangeCount.
    for (NodeImpl* c = doc_->first; c; c = c->next) {
      if (c->type == NodeType::Element) ++c->name->changes;
    }
    DropChildren(doc_);
    while (NodeImpl* c = root_->first) {
      Unlink(c);
      LinkLast(doc_, c);
    }
    DestroySubtree(root_);
    root_ = nullptr;
  }

  // Fills error from expat's code and position. The position and the offending line come from
  // the input already read: the whole-input buffer, where expat counts the position while
  // nothing was handed back and the lines handed back were counted otherwise; or the last
  // pieces read.
  void Report(const std::string& url, ParseError& error) {
    error = ParseError();
    error.url = url;
    if (tooDeep_) {
      error.errorCode = XML_ERROR_ABORTED;
      error.reason = "elements nested deeper than " + std::to_string(kMaxDepth) + " levels";
    } else {
      error.errorCode = static_cast<int32_t>(XML_GetErrorCode(parser_));
      const XML_LChar* reason = XML_ErrorString(XML_GetErrorCode(parser_));
      error.reason = reason ? reason : "";
    }
    // A byte position in what expat read: the converted text for a code page.
    XML_Index index = XML_GetCurrentByteIndex(parser_);
    size_t at = index < 0 ? SIZE_MAX : static_cast<size_t>(index);
    Units units = units_;
    if (!Wide(units) && !codec_ && !IsUtfName(sourceEncoding_)) units = Units::Single;
    std::string_view encoding = codec_ ? std::string_view("UTF-8") : sourceEncoding_;
    if (base_ && releasedAny_) {
      at = std::min(std::max(at, countedTo_), used_);
      if (Wide(units)) at = countedTo_ + ((at - countedTo_) & ~size_t{1});
      error.line =
          static_cast<int32_t>(linesBefore_ + CountBreaks(base_, countedTo_, at, units) + 1);
      size_t start = LineStart(base_, countedTo_, at, units, true);
      error.linepos = static_cast<int32_t>(Columns(base_, start, at, units) + 1);
      error.srcText = SourceLine(base_, countedTo_, used_, at, units, encoding, false);
      return;
    }
    error.line = static_cast<int32_t>(XML_GetCurrentLineNumber(parser_));
    error.linepos = static_cast<int32_t>(XML_GetCurrentColumnNumber(parser_)) + 1;
    if (base_) {
      error.srcText = SourceLine(base_, 0, used_, at, units, encoding, true);
    } else if (at != SIZE_MAX && at >= windowStart_) {
      // A line that began before the pieces kept is given from where they start.
      size_t from = Wide(units) && (windowStart_ & 1) ? 1 : 0;
      error.srcText = SourceLine(window_.data(), from, window_.size(), at - windowStart_, units,
                                 encoding, windowStart_ + from == 0);
    }
  }

  // A pipe or device that gives more than a load reads from one.
  bool TooLong(const std::string& url, ParseError& error) {
    error = ParseError();
    error.url = url;
    error.errorCode = err::kPathFileAccess;
    error.reason = "cannot read '" + url + "': it gives more than " +
                   std::to_string(g_streamLimit) +
                   " bytes, the most a load reads from a pipe or device";
    return false;
  }

  XML_Parser parser_ = nullptr;
  NodeImpl* doc_;
  NodeImpl* root_;                          // holds the new children until the parse succeeded
  const ReleaseTuning tuning_ = g_release;  // fixed for the parse, whatever tests set meanwhile
  const SingleByteCodec* codec_ = nullptr;  // the declared code page, converted here
  size_t maxUtf8_ = 1;                      // the longest UTF-8 form of one of its bytes
  Units units_ = Units::Utf8;
  char* base_ = nullptr;    // the whole-input buffer, when parsing at once
  size_t used_ = 0;         // bytes in it
  uintptr_t released_ = 0;  // the buffer is handed back up to here
  size_t nextRelease_ = 0;
  bool releasedAny_ = false;
  size_t countedTo_ = 0;  // a line start: the lines before it are counted
  size_t linesBefore_ = 0;
  std::string window_;  // the end of what expat was given in pieces
  size_t windowStart_ = 0;
  std::vector<Frame> stack_;
  std::string text_;
  std::string cdata_;
  std::string sourceEncoding_;
  const Name* rootHint_ = nullptr;
  bool inCData_ = false;
  bool stopped_ = false;
  bool tooDeep_ = false;
  std::exception_ptr failure_;
};

class TextSource : public ByteSource {
 public:
  explicit TextSource(std::string_view text) : text_(text) {}
  std::string_view Next(size_t n) override {
    std::string_view piece = text_.substr(done_, n);
    done_ += piece.size();
    return piece;
  }
  std::optional<size_t> Size() const override { return text_.size(); }

 private:
  std::string_view text_;
  size_t done_ = 0;
};

}  // namespace

bool ParseDocument(NodeImpl* doc, ByteSource& source, const std::string& url, ParseError& error) {
  Builder builder(doc);
  return builder.Parse(source, url, error);
}

bool ParseDocument(NodeImpl* doc, std::string_view bytes, const std::string& url,
                   ParseError& error) {
  TextSource source(bytes);
  return ParseDocument(doc, source, url, error);
}

void SetInputReleaseForTesting(size_t granularity) {
  g_release = ReleaseTuning();
  if (granularity == 0) return;
  g_release.simulate = true;
  g_release.margin = 0;
  if (granularity == SIZE_MAX) {
    g_release.step = SIZE_MAX;
    return;
  }
  g_release.page = granularity;
  g_release.step = granularity;
}

size_t ReleasedInputBytes() { return g_releasedBytes; }

void SetStreamLimitForTesting(size_t bytes) { g_streamLimit = bytes ? bytes : kStreamLimit; }

}  // namespace corvale::xml

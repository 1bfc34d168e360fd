#include "corvale/xml/internal/parser.h"

#include <expat.h>
#include <sys/mman.h>
#include <unistd.h>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <algorithm>
#include <climits>
#include <cstring>
#include <exception>
#include <memory>
#include <optional>
#include <vector>

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
    XML_ParserFree(parser_);
    if (root_) DestroySubtree(root_);
  }

  enum class Outcome { Done, Failed, Again };

  // The usual way: the whole input in one expat buffer and one final parse, which spares
  // expat the line bookkeeping it does between pieces (a sixth of the load). The input behind
  // the parse is handed back to the system as the tree grows (Release). Again: read the input
  // from its start and parse it in pieces.
  Outcome ParseWhole(ByteSource& source, size_t total, const std::string& url, ParseError& error) {
    std::string_view piece = source.Next(std::min(kParseChunk, total));
    Start(piece);
    size_t room = total * maxUtf8_;
    if (room > kWholeLimit) return Outcome::Again;
    auto* buffer = static_cast<char*>(XML_GetBuffer(parser_, static_cast<int>(room)));
    if (!buffer) throw std::bad_alloc();
    size_t used = 0;
    for (size_t read = 0; !piece.empty();) {
      if (codec_) {
        used += Transcode(piece, buffer + used, *codec_);
      } else {
        std::memcpy(buffer + used, piece.data(), piece.size());
        used += piece.size();
      }
      read += piece.size();
      piece = source.Next(read < total ? std::min(kParseChunk, total - read) : 1);
      if (read >= total && !piece.empty()) return Outcome::Again;  // the file grew meanwhile
    }
    if (source.Failed()) return Outcome::Failed;
    base_ = buffer;
    released_ = AlignUp(reinterpret_cast<uintptr_t>(buffer), PageSize());
    nextRelease_ = kReleaseStep;
    XML_Status status = XML_ParseBuffer(parser_, static_cast<int>(used), XML_TRUE);
    if (failure_) std::rethrow_exception(failure_);
    if (status != XML_STATUS_OK) {
      // Expat's line count would read input already handed back.
      if (releasedAny_) return Outcome::Again;
      Report(source.All(), url, error);
      return Outcome::Failed;
    }
    Commit();
    error = ParseError();
    return Outcome::Done;
  }

  // Input of unknown or huge size, and input read again: expat keeps only the unparsed tail of
  // a piece between calls, and its positions run on across them.
  bool ParseInPieces(ByteSource& source, const std::string& url, ParseError& error) {
    std::string_view piece = source.Next(kParseChunk);
    Start(piece);
    // UTF-8 and UTF-16 sequences split between two pieces are expat's to join; the code pages
    // converted here have one byte a character.
    XML_Status status = XML_STATUS_OK;
    while (status == XML_STATUS_OK && !piece.empty()) {
      if (codec_) {
        void* buffer = XML_GetBuffer(parser_, static_cast<int>(piece.size() * maxUtf8_));
        if (!buffer) throw std::bad_alloc();
        size_t n = Transcode(piece, static_cast<char*>(buffer), *codec_);
        status = XML_ParseBuffer(parser_, static_cast<int>(n), XML_FALSE);
      } else {
        status = XML_Parse(parser_, piece.data(), static_cast<int>(piece.size()), XML_FALSE);
      }
      if (status == XML_STATUS_OK) piece = source.Next(kParseChunk);
    }
    if (failure_) std::rethrow_exception(failure_);
    if (source.Failed()) return false;
    if (status == XML_STATUS_OK) status = XML_Parse(parser_, nullptr, 0, XML_TRUE);
    if (failure_) std::rethrow_exception(failure_);
    if (status != XML_STATUS_OK) {
      Report(source.All(), url, error);
      return false;
    }
    Commit();
    error = ParseError();
    return true;
  }

  // The largest buffer that expat's sizes (int, grown by doubling) can hold.
  static constexpr size_t kWholeLimit = INT_MAX / 2;

 private:
  static Builder& Self(void* data) { return *static_cast<Builder*>(data); }

  // head: the first bytes of the input.
  void Start(std::string_view head) {
    // Expat reads code pages it does not know one character at a time through a callback; a
    // table-driven conversion to UTF-8 on the way in is several times faster.
    codec_ = DeclaredCodec(head);
    if (codec_) {
      XML_SetEncoding(parser_, "UTF-8");
      maxUtf8_ = MaxUtf8Length(*codec_);
    }
  }

  static uintptr_t PageSize() {
    static const uintptr_t size = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    return size;
  }
  static uintptr_t AlignUp(uintptr_t p, uintptr_t page) { return (p + page - 1) & ~(page - 1); }

  // Hands back the pages of the whole-input buffer that lie well behind the parse. Expat does
  // not read parsed input again, except the raw names of the open elements, which it compares
  // with their end tags: the pages holding those stay.
  void Release(size_t at) {
    nextRelease_ = at + kReleaseStep;
    if (at < kReleaseMargin) return;
    uintptr_t page = PageSize();
    auto base = reinterpret_cast<uintptr_t>(base_);
    uintptr_t end = (base + at - kReleaseMargin) & ~(page - 1);
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
    if (madvise(reinterpret_cast<void*>(from), to - from, MADV_DONTNEED) == 0) releasedAny_ = true;
  }

  static constexpr size_t kReleaseStep = size_t{1} << 20;
  static constexpr size_t kReleaseMargin = size_t{64} << 10;

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
    DropChildren(doc_);
    while (NodeImpl* c = root_->first) {
      Unlink(c);
      LinkLast(doc_, c);
    }
    DestroySubtree(root_);
    root_ = nullptr;
  }

  // input: the whole document as read, for the offending line.
  void Report(std::string_view input, const std::string& url, ParseError& error) {
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
    error.line = static_cast<int32_t>(XML_GetCurrentLineNumber(parser_));
    error.linepos = static_cast<int32_t>(XML_GetCurrentColumnNumber(parser_)) + 1;
    // A byte position in what expat read: the converted text for a code page.
    XML_Index at = XML_GetCurrentByteIndex(parser_);
    size_t pos = at < 0 ? SIZE_MAX : static_cast<size_t>(at);
    if (codec_) {
      std::string converted(input.size() * maxUtf8_, '\0');
      converted.resize(Transcode(input, converted.data(), *codec_));
      error.srcText = SourceLine(converted, pos, "UTF-8");
    } else {
      error.srcText = SourceLine(input, pos, sourceEncoding_);
    }
  }

  // The text of the line holding byte position at, in UTF-8.
  static std::string SourceLine(std::string_view in, size_t at, std::string_view encoding) {
    if (at > in.size()) at = in.size();
    auto u = [&](size_t k) { return static_cast<unsigned char>(in[k]); };
    bool le = in.size() >= 2 && ((u(0) == 0xFF && u(1) == 0xFE) || (u(0) == '<' && u(1) == 0));
    bool be = in.size() >= 2 && ((u(0) == 0xFE && u(1) == 0xFF) || (u(0) == 0 && u(1) == '<'));
    if (le || be) {
      size_t lo = be ? 1 : 0;  // the byte that holds ASCII
      at &= ~size_t{1};
      size_t start = at;
      while (start >= 2 && !(in[start - 2 + lo] == '\n' && in[start - 1 - lo] == 0)) start -= 2;
      size_t end = at;
      while (end + 1 < in.size() &&
             !((in[end + lo] == '\n' || in[end + lo] == '\r') && in[end + 1 - lo] == 0))
        end += 2;
      std::string_view line = in.substr(start, end - start);
      if (start == 0 && line.size() >= 2 &&
          ((u(0) == 0xFF && u(1) == 0xFE) || (u(0) == 0xFE && u(1) == 0xFF)))
        line.remove_prefix(2);
      return BytesToUtf8(line, be ? "UTF-16BE" : "UTF-16LE");
    }
    size_t start = at;
    while (start > 0 && in[start - 1] != '\n') --start;
    size_t end = at;
    while (end < in.size() && in[end] != '\n' && in[end] != '\r') ++end;
    std::string_view line = in.substr(start, end - start);
    if (start == 0 && line.substr(0, 3) == "\xEF\xBB\xBF") line.remove_prefix(3);
    return BytesToUtf8(line, encoding);
  }

  XML_Parser parser_ = nullptr;
  NodeImpl* doc_;
  NodeImpl* root_;                          // holds the new children until the parse succeeded
  const SingleByteCodec* codec_ = nullptr;  // the declared code page, converted here
  size_t maxUtf8_ = 1;                      // the longest UTF-8 form of one of its bytes
  char* base_ = nullptr;                    // the whole-input buffer, when parsing at once
  uintptr_t released_ = 0;                  // the buffer is handed back up to here
  size_t nextRelease_ = 0;
  bool releasedAny_ = false;
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
  std::string_view All() override { return text_; }
  std::optional<size_t> Size() const override { return text_.size(); }
  void Rewind() override { done_ = 0; }

 private:
  std::string_view text_;
  size_t done_ = 0;
};

}  // namespace

bool ParseDocument(NodeImpl* doc, ByteSource& source, const std::string& url, ParseError& error) {
  std::optional<size_t> size = source.Size();
  if (size && *size > 0) {
    Builder builder(doc);
    auto outcome = builder.ParseWhole(source, *size, url, error);
    if (outcome != Builder::Outcome::Again) return outcome == Builder::Outcome::Done;
    source.Rewind();
  }
  Builder builder(doc);
  return builder.ParseInPieces(source, url, error);
}

bool ParseDocument(NodeImpl* doc, std::string_view bytes, const std::string& url,
                   ParseError& error) {
  TextSource source(bytes);
  return ParseDocument(doc, source, url, error);
}

}  // namespace corvale::xml

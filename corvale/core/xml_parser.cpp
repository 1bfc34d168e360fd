#include "corvale/core/xml_parser.h"

#include <expat.h>

#include <climits>
#include <exception>
#include <vector>

#include "corvale/core/xml_encoding.h"

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

bool IsBlank(std::string_view s) {
  for (char c : s) {
    if (c != ' ' && c != '\t' && c != '\n' && c != '\r') return false;
  }
  return true;
}

enum class Next { Element, End, Other };

struct Frame {
  NodeImpl* node;
  bool hasElement;
  bool pendingBlank;  // holds blank text that goes if an element child follows
};

class Builder {
 public:
  Builder(NodeImpl* doc, std::string_view input)
      : doc_(doc), root_(NewNode(NodeType::Document, doc)), input_(input) {
    parser_ = XML_ParserCreate(nullptr);
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

  bool Parse(const std::string& url, ParseError& error) {
    const char* p = input_.data();
    size_t left = input_.size();
    XML_Status status = XML_STATUS_OK;
    constexpr size_t kChunk = size_t{1} << 30;
    do {
      size_t n = left < kChunk ? left : kChunk;
      left -= n;
      status = XML_Parse(parser_, p, static_cast<int>(n), left == 0);
      p += n;
    } while (status == XML_STATUS_OK && left > 0);
    if (failure_) std::rethrow_exception(failure_);
    if (status != XML_STATUS_OK) {
      Report(url, error);
      return false;
    }
    Commit();
    error = ParseError();
    return true;
  }

 private:
  static Builder& Self(void* data) { return *static_cast<Builder*>(data); }

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
      if (!b.stack_.empty()) {
        b.Flush(Next::Element);
        Frame& f = b.stack_.back();
        f.hasElement = true;
        if (f.pendingBlank) ClearPending(f, true);
      }
      if (b.stack_.size() >= static_cast<size_t>(kMaxDepth)) {
        b.tooDeep_ = true;
        b.Stop();
        return;
      }
      NodeImpl* e = NewNode(NodeType::Element, b.doc_);
      e->name = Intern(name);
      LinkLast(b.Current(), e);
      Attr** tail = reinterpret_cast<Attr**>(&e->extra);
      for (size_t i = 0; atts[i]; i += 2) {
        auto* a = new Attr{Intern(atts[i]), {}, nullptr};
        a->value.init();
        *tail = a;
        tail = &a->next;
        a->value.assign(atts[i + 1]);
      }
      b.stack_.push_back({e, false, false});
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
      if (encoding) b.encoding_ = encoding;
      XML_Index at = XML_GetCurrentByteIndex(b.parser_);
      int count = XML_GetCurrentByteCount(b.parser_);
      std::string raw;
      if (at >= 0 && count > 0 && static_cast<size_t>(at) + count <= b.input_.size()) {
        for (char c : b.input_.substr(static_cast<size_t>(at), static_cast<size_t>(count))) {
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
    error.line = static_cast<int32_t>(XML_GetCurrentLineNumber(parser_));
    error.linepos = static_cast<int32_t>(XML_GetCurrentColumnNumber(parser_)) + 1;
    XML_Index at = XML_GetCurrentByteIndex(parser_);
    if (at < 0 || static_cast<size_t>(at) > input_.size())
      at = static_cast<XML_Index>(input_.size());
    error.srcText = SourceLine(static_cast<size_t>(at));
  }

  // The text of the line holding byte position at, in UTF-8.
  std::string SourceLine(size_t at) const {
    std::string_view in = input_;
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
    return BytesToUtf8(line, encoding_);
  }

  XML_Parser parser_ = nullptr;
  NodeImpl* doc_;
  NodeImpl* root_;  // holds the new children until the parse succeeded
  std::string_view input_;
  std::vector<Frame> stack_;
  std::string text_;
  std::string cdata_;
  std::string encoding_;
  bool inCData_ = false;
  bool stopped_ = false;
  bool tooDeep_ = false;
  std::exception_ptr failure_;
};

}  // namespace

bool ParseDocument(NodeImpl* doc, std::string_view bytes, const std::string& url,
                   ParseError& error) {
  Builder builder(doc, bytes);
  return builder.Parse(url, error);
}

}  // namespace corvale::xml

#include "corvale/xml/internal/writer.h"

#include <array>
#include <vector>

namespace corvale::xml {

namespace {

enum class Ctx : uint8_t { Text, Attr, CData, Raw };

// Byte classes: 0 copies as is, 1 needs attention (markup, line ends, controls), 2 starts a
// non-ASCII character.
using ClassTable = std::array<uint8_t, 256>;

ClassTable MakeTable(Ctx ctx) {
  ClassTable t{};
  for (int b = 0; b < 256; ++b) {
    if (b >= 0x80) {
      t[b] = 2;
    } else if (b < 0x20 && b != '\t') {
      t[b] = 1;
    }
  }
  switch (ctx) {
    case Ctx::Text:
      t['&'] = t['<'] = t['>'] = 1;
      break;
    case Ctx::Attr:
      t['&'] = t['<'] = t['>'] = t['"'] = t['\t'] = 1;
      break;
    case Ctx::CData:
      t[']'] = 1;
      break;
    case Ctx::Raw:
      break;
  }
  return t;
}

const ClassTable kTables[4] = {MakeTable(Ctx::Text), MakeTable(Ctx::Attr), MakeTable(Ctx::CData),
                               MakeTable(Ctx::Raw)};

// Deeper elements are written without line breaks: indenting a very deep chain would grow
// the file with the square of its depth.
constexpr size_t kIndentLevels = 64;

bool IsXmlControl(unsigned char c) { return c < 0x20 && c != '\t' && c != '\n' && c != '\r'; }

class Writer {
 public:
  Writer(std::string& out, const OutputEncoding& enc, bool pretty)
      : out_(out),
        codec_(enc.kind == EncodingKind::SingleByte ? enc.codec : nullptr),
        pretty_(pretty),
        newline_(pretty ? "\r\n" : "\n") {}

  void Run(NodeImpl* node) {
    if (node->type != NodeType::Document) return Subtree(node, false);
    for (NodeImpl* c = node->first; c; c = c->next) Subtree(c, pretty_);
  }

 private:
  void Subtree(NodeImpl* root, bool topPretty) {
    topPretty_ = topPretty;
    NodeImpl* n = root;
    size_t level = 0;
    for (;;) {
      if (Open(n, level)) {
        n = n->first;
        ++level;
        continue;
      }
      for (;;) {
        if (n == root) return;
        if (n->next) {
          n = n->next;
          break;
        }
        n = n->parent;
        --level;
        Close(n, level);
      }
    }
  }

  bool ContextPretty(size_t level) const {
    return level == 0 ? topPretty_ : kidsPretty_[level - 1];
  }

  void Indent(size_t level) { out_.append(level * 2, ' '); }

  // Writes the start of n; true when its children follow.
  bool Open(NodeImpl* n, size_t level) {
    bool pretty = ContextPretty(level);
    if (pretty) Indent(level);
    switch (n->type) {
      case NodeType::Text:
        Put(n->value.view(), Ctx::Text);
        break;
      case NodeType::CData:
        out_ += "<![CDATA[";
        Put(n->value.view(), Ctx::CData);
        out_ += "]]>";
        break;
      case NodeType::Comment:
        out_ += "<!--";
        Put(Sanitized(n->value.view(), '-', '-', true), Ctx::Raw);
        out_ += "-->";
        break;
      case NodeType::ProcessingInstruction:
        out_ += "<?";
        Put(n->name->view(), Ctx::Raw);
        if (!n->value.empty()) {
          out_ += ' ';
          Put(Sanitized(n->value.view(), '?', '>', false), Ctx::Raw);
        }
        out_ += "?>";
        break;
      case NodeType::Element: {
        out_ += '<';
        Put(n->name->view(), Ctx::Raw);
        for (Attr* a = n->attrs(); a; a = a->next) {
          out_ += ' ';
          Put(a->name->view(), Ctx::Raw);
          out_ += "=\"";
          Put(a->value.view(), Ctx::Attr);
          out_ += '"';
        }
        if (!n->first) {
          if (n->value.empty()) {
            out_ += "/>";
          } else {
            out_ += '>';
            Put(n->value.view(), Ctx::Text);
            CloseTag(n);
          }
          break;
        }
        out_ += '>';
        bool kids = pretty && level < kIndentLevels && ChildrenPretty(n);
        if (kidsPretty_.size() <= level) kidsPretty_.resize(level + 1);
        kidsPretty_[level] = kids;
        if (kids) out_ += newline_;
        return true;
      }
      case NodeType::Document:
        break;
    }
    if (pretty) out_ += newline_;
    return false;
  }

  void Close(NodeImpl* n, size_t level) {
    if (kidsPretty_[level]) Indent(level);
    CloseTag(n);
    if (ContextPretty(level)) out_ += newline_;
  }

  void CloseTag(NodeImpl* n) {
    out_ += "</";
    Put(n->name->view(), Ctx::Raw);
    out_ += '>';
  }

  // Indenting would add text to an element that holds text: only elements with element
  // children and no text get one child per line.
  static bool ChildrenPretty(NodeImpl* n) {
    bool element = false;
    for (NodeImpl* c = n->first; c; c = c->next) {
      if (c->type == NodeType::Text || c->type == NodeType::CData) return false;
      if (c->type == NodeType::Element) element = true;
    }
    return element;
  }

  // Comments and instructions cannot escape their closing marks ("--", "?>"): a blank goes
  // between the two characters, so that the saved document still loads.
  std::string_view Sanitized(std::string_view s, char first, char second, bool comment) {
    bool trailingDash = comment && !s.empty() && s.back() == '-';
    const char mark[] = {first, second};
    if (s.find(std::string_view(mark, 2)) == std::string_view::npos && !trailingDash) return s;
    scratch_.clear();
    for (char c : s) {
      if (c == second && !scratch_.empty() && scratch_.back() == first) scratch_ += ' ';
      scratch_ += c;
    }
    if (trailingDash) scratch_ += ' ';
    return scratch_;
  }

  void CharRef(uint32_t cp) {
    char buf[16];
    int len = 0;
    char digits[12];
    do {
      digits[len++] = static_cast<char>('0' + cp % 10);
      cp /= 10;
    } while (cp);
    int k = 0;
    buf[k++] = '&';
    buf[k++] = '#';
    while (len) buf[k++] = digits[--len];
    buf[k++] = ';';
    out_.append(buf, static_cast<size_t>(k));
  }

  void Put(std::string_view s, Ctx ctx) {
    const ClassTable& table = kTables[static_cast<int>(ctx)];
    const char* p = s.data();
    size_t n = s.size();
    size_t i = 0;
    while (i < n) {
      size_t start = i;
      while (i < n && table[static_cast<unsigned char>(p[i])] == 0) ++i;
      if (i > start) out_.append(p + start, i - start);
      if (i >= n) break;
      auto c = static_cast<unsigned char>(p[i]);
      if (c >= 0x80) {
        NonAscii(s, i, ctx);
        continue;
      }
      ++i;
      Special(c, s, i, ctx);
    }
  }

  // c has been consumed; i points after it.
  void Special(unsigned char c, std::string_view s, size_t& i, Ctx ctx) {
    if (IsXmlControl(c)) return;  // not allowed in XML 1.0 at all: dropped so the file loads
    switch (c) {
      case '&':
        out_ += "&amp;";
        return;
      case '<':
        out_ += "&lt;";
        return;
      case '>':
        out_ += "&gt;";
        return;
      case '"':
        out_ += "&quot;";
        return;
      case '\t':
        out_ += "&#9;";  // attributes only: a literal tab would read back as a blank
        return;
      case ']':
        if (s.substr(i, 2) == "]>") {
          out_ += "]]]]><![CDATA[>";
          i += 2;
        } else {
          out_ += ']';
        }
        return;
      case '\n':
        out_ += ctx == Ctx::Attr ? "&#10;" : newline_;
        return;
      case '\r':
        if (ctx == Ctx::Text || ctx == Ctx::Attr) {
          out_ += "&#13;";  // a literal CR would read back as a line feed
        } else if (ctx == Ctx::CData) {
          out_ += "]]>&#13;<![CDATA[";
        } else {
          if (i < s.size() && s[i] == '\n') ++i;
          out_ += newline_;
        }
        return;
      default:
        out_ += static_cast<char>(c);
    }
  }

  void NonAscii(std::string_view s, size_t& i, Ctx ctx) {
    size_t start = i;
    uint32_t cp = DecodeUtf8(s, i);
    if (cp == 0xFFFE || cp == 0xFFFF) cp = 0xFFFD;
    if (!codec_) {
      if (cp == 0xFFFD && !(i - start == 3 && s.substr(start, 3) == "\xEF\xBF\xBD")) {
        out_ += "\xEF\xBF\xBD";
      } else {
        out_.append(s.data() + start, i - start);
      }
      return;
    }
    int b = codec_->Encode(cp);
    if (b >= 0) {
      out_ += static_cast<char>(b);
    } else if (ctx == Ctx::Text || ctx == Ctx::Attr) {
      CharRef(cp);
    } else if (ctx == Ctx::CData) {
      out_ += "]]>";
      CharRef(cp);
      out_ += "<![CDATA[";
    } else {
      out_ += '?';  // names, comments and instructions have no character references
    }
  }

  std::string& out_;
  const SingleByteCodec* codec_;
  bool pretty_;
  bool topPretty_ = false;
  const char* newline_;
  std::vector<bool> kidsPretty_;
  std::string scratch_;
};

}  // namespace

void WriteMarkup(std::string& out, NodeImpl* node, const OutputEncoding& encoding, bool pretty) {
  Writer(out, encoding, pretty).Run(node);
}

}  // namespace corvale::xml

#include "corvale/xml/xml.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <utility>

#include "corvale/core/atomic_file.h"
#include "corvale/core/error.h"
#include "corvale/xml/internal/encoding.h"
#include "corvale/xml/internal/node.h"
#include "corvale/xml/internal/parser.h"
#include "corvale/xml/internal/writer.h"

namespace corvale::xml {

struct NodeAccess {
  static NodeImpl* Get(const Node& n) { return n.impl_; }
  static Node Make(NodeImpl* impl) { return Node(impl); }
  static Document MakeDocument(NodeImpl* impl) { return Document(impl); }
};

namespace {

Node Wrap(NodeImpl* impl) { return NodeAccess::Make(impl); }

// A file read a piece at a time, so that a load holds no copy of the whole file.
class FileSource : public ByteSource {
 public:
  explicit FileSource(const std::string& path) : file_(std::fopen(path.c_str(), "rb")) {
    if (!file_) failure_ = errno;
  }
  ~FileSource() override {
    if (file_) std::fclose(file_);
  }
  FileSource(const FileSource&) = delete;
  FileSource& operator=(const FileSource&) = delete;

  std::string_view Next(size_t n) override {
    if (failure_) return {};
    if (capacity_ < n) {
      buffer_ = std::make_unique_for_overwrite<char[]>(n);
      capacity_ = n;
    }
    size_t got = std::fread(buffer_.get(), 1, n, file_);
    if (got < n && std::ferror(file_)) {
      failure_ = errno ? errno : EIO;
      return {};
    }
    return {buffer_.get(), got};
  }
  bool Failed() const override { return failure_ != 0; }
  // Only a regular file knows its size; pipes and the like are read until they end (or give
  // more than a load reads from them).
  std::optional<size_t> Size() const override {
    struct stat st;
    if (failure_ || ::fstat(fileno(file_), &st) != 0 || !S_ISREG(st.st_mode)) return std::nullopt;
    return static_cast<size_t>(st.st_size);
  }
  int failure() const { return failure_; }

 private:
  std::FILE* file_;
  int failure_ = 0;
  std::unique_ptr<char[]> buffer_;
  size_t capacity_ = 0;
};

[[noreturn]] void Invalid(const char* what) {
  throw Error(err::kInvalidProcedureCall,
              StandardDescription(err::kInvalidProcedureCall) + ": " + what);
}

bool CanHaveChildren(const NodeImpl* n) {
  return n->type == NodeType::Element || n->type == NodeType::Document;
}

bool IsDeclaration(const NodeImpl* n) {
  if (n->type != NodeType::ProcessingInstruction) return false;
  std::string_view t = n->name->view();
  return t.size() == 3 && (t[0] | 0x20) == 'x' && (t[1] | 0x20) == 'm' && (t[2] | 0x20) == 'l';
}

// Checks that child may go under parent before ref, raising error 5 otherwise.
void CheckInsert(NodeImpl* parent, NodeImpl* child, NodeImpl* ref) {
  if (!CanHaveChildren(parent)) Invalid("this node cannot have children");
  if (child->type == NodeType::Document) Invalid("a document cannot be a child");
  if (child == parent) Invalid("a node cannot be its own child");
  // Only a node with children can be an ancestor, and only in its own document: building a
  // deep chain leaf by leaf never walks the chain.
  if (child->first && child->doc == parent->owner()) {
    for (NodeImpl* a = parent->parent; a; a = a->parent) {
      if (a == child) Invalid("a node cannot go under its own descendant");
    }
  }
  if (parent->type == NodeType::Document) {
    if (child->type == NodeType::Text || child->type == NodeType::CData) {
      Invalid("text cannot stand outside the document element");
    }
    if (child->type == NodeType::Element) {
      for (NodeImpl* c = parent->first; c; c = c->next) {
        if (c->type == NodeType::Element && c != child) Invalid("a second document element");
      }
    }
    // A saved document must load again: the declaration stands first or nowhere.
    NodeImpl* first = parent->first == child ? child->next : parent->first;
    if (IsDeclaration(child) && ref != first) {
      Invalid("the xml declaration can only be the first node of a document");
    }
    if (!IsDeclaration(child) && first && ref == first && IsDeclaration(first)) {
      Invalid("nothing can stand before the xml declaration");
    }
  } else if (IsDeclaration(child)) {
    Invalid("the xml declaration can only be the first node of a document");
  }
}

// ---- Change counts ---------------------------------------------------------------------------
// Whether linking or unlinking n can change the text of its new or old ancestors.
bool CarriesText(const NodeImpl* n) {
  switch (n->type) {
    case NodeType::Text:
    case NodeType::CData:
      return !n->value.empty();
    case NodeType::Element:
      return n->first || !n->value.empty();
    default:
      return false;
  }
}

// The text of n and of its ancestors may have changed.
void TextChanged(NodeImpl* n) {
  for (; n; n = n->parent) {
    if (n->type == NodeType::Element) ++n->name->changes;
  }
}

// child was, or is about to be, linked under or unlinked from parent.
void Relinked(NodeImpl* parent, NodeImpl* child) {
  if (child->type == NodeType::Element) ++child->name->changes;
  if (parent && CarriesText(child)) TextChanged(parent);
}

// Moves child under parent before ref (null: at the end), adopting it into parent's document.
void Insert(NodeImpl* parent, NodeImpl* child, NodeImpl* ref) {
  if (child == ref) return;  // already in place
  CheckInsert(parent, child, ref);
  Materialize(parent);
  Relinked(child->parent, child);
  Unlink(child);
  NodeImpl* doc = parent->owner();
  if (child->doc != doc) ChangeOwner(child, doc);
  LinkBefore(parent, child, ref);
  Relinked(parent, child);
}

NodeImpl* CopyNode(NodeImpl* src, NodeImpl* doc) {
  NodeImpl* n = NewNode(src->type, doc);
  n->name = src->name;
  n->value.assign(src->value.view());
  if (src->type == NodeType::Element) {
    Attr** tail = reinterpret_cast<Attr**>(&n->extra);
    for (Attr* a = src->attrs(); a; a = a->next) {
      auto* copy = new Attr{a->name, {}, nullptr};
      copy->value.init();
      *tail = copy;
      tail = &copy->next;
      copy->value.assign(a->value.view());
    }
  }
  return n;
}

// Deep copies the children of src under dst, iteratively.
void CopyChildren(NodeImpl* src, NodeImpl* dst, NodeImpl* doc) {
  NodeImpl* s = src->first;
  if (!s) return;
  NodeImpl* d = dst;
  for (;;) {
    NodeImpl* copy = CopyNode(s, doc);
    LinkLast(d, copy);
    if (s->first) {
      s = s->first;
      d = copy;
      continue;
    }
    while (!s->next) {
      s = s->parent;
      if (s == src) return;
      d = d->parent;
    }
    s = s->next;
  }
}

void AppendText(const NodeImpl* root, std::string& out) {
  for (const NodeImpl* n = root; n; n = NextInSubtree(const_cast<NodeImpl*>(n), root)) {
    if (n->type == NodeType::Text || n->type == NodeType::CData || n->type == NodeType::Element) {
      std::string_view v = n->value.view();
      out.append(v.data(), v.size());
    }
  }
}

Attr* FindAttr(const NodeImpl* n, std::string_view name) {
  if (n->type != NodeType::Element) return nullptr;
  for (Attr* a = n->attrs(); a; a = a->next) {
    if (a->name->view() == name) return a;
  }
  return nullptr;
}

// Calls visit for each child element of n named path, in order, until visit returns false;
// a path of the form "A/B" selects through the children named A. Returns false when stopped.
// A caller that stops at the first (single) has the index of an element built when it walked
// far through its children.
using Visit = bool (*)(void* context, NodeImpl* node);
bool ForEachNamed(NodeImpl* n, std::string_view path, Visit visit, void* context, bool single) {
  size_t slash = path.find('/');
  const Name* name = FindName(path.substr(0, slash));
  if (!name) return true;
  NodeImpl* c = n->first;
  uint32_t left = UINT32_MAX;
  if (n->flags & kChildIndex) {
    const IndexEntry* entry = FindIndexed(n, name);
    if (!entry) return true;
    c = entry->first;
    left = entry->count;
  }
  uint32_t walked = 0;
  bool more = true;
  for (; c && left && more; c = c->next) {
    ++walked;
    if (c->type != NodeType::Element || c->name != name) continue;
    --left;
    more = slash == std::string_view::npos
               ? visit(context, c)
               : ForEachNamed(c, path.substr(slash + 1), visit, context, single);
  }
  if (single && walked > kIndexAfter) BuildChildIndex(n);
  return more;
}

const ParseError& NoError() {
  static const ParseError none;
  return none;
}

}  // namespace

// ---- Node handles ----------------------------------------------------------------------------

Node::Node(NodeImpl* impl) noexcept : impl_(impl) {
  if (impl_) Retain(impl_);
}
Node::Node(const Node& other) noexcept : impl_(other.impl_) {
  if (impl_) Retain(impl_);
}
Node::Node(Node&& other) noexcept : impl_(std::exchange(other.impl_, nullptr)) {}
Node& Node::operator=(const Node& other) noexcept {
  if (other.impl_) Retain(other.impl_);
  NodeImpl* old = std::exchange(impl_, other.impl_);
  if (old) Release(old);
  return *this;
}
Node& Node::operator=(Node&& other) noexcept {
  if (this != &other) {
    NodeImpl* old = std::exchange(impl_, std::exchange(other.impl_, nullptr));
    if (old) Release(old);
  }
  return *this;
}
Node::~Node() {
  if (impl_) Release(impl_);
}

NodeType Node::nodeType() const { return impl_ ? impl_->type : NodeType{}; }

std::string Node::nodeName() const {
  if (!impl_) return {};
  switch (impl_->type) {
    case NodeType::Element:
    case NodeType::ProcessingInstruction:
      return std::string(impl_->name->view());
    case NodeType::Text:
      return "#text";
    case NodeType::CData:
      return "#cdata-section";
    case NodeType::Comment:
      return "#comment";
    case NodeType::Document:
      return "#document";
  }
  return {};
}

std::string Node::nodeValue() const {
  if (!impl_ || CanHaveChildren(impl_)) return {};
  return std::string(impl_->value.view());
}

void Node::nodeValue(std::string_view value) {
  if (!impl_ || CanHaveChildren(impl_)) return;
  impl_->value.assign(value);
  if (impl_->type == NodeType::Text || impl_->type == NodeType::CData) TextChanged(impl_->parent);
}

std::string Node::text() const {
  std::string out;
  if (!impl_) return out;
  if (!CanHaveChildren(impl_)) return std::string(impl_->value.view());
  AppendText(impl_, out);
  return out;
}

void Node::text(std::string_view value) {
  if (!impl_) return;
  if (!CanHaveChildren(impl_)) return nodeValue(value);
  if (impl_->type == NodeType::Document && !value.empty()) {
    Invalid("text cannot stand outside the document element");
  }
  for (NodeImpl* c = impl_->first; c; c = c->next) Relinked(nullptr, c);
  DropChildren(impl_);
  if (impl_->type == NodeType::Element) impl_->value.assign(value);
  TextChanged(impl_);
}

Node Node::parentNode() const { return impl_ ? Wrap(impl_->parent) : Node(); }

Document Node::ownerDocument() const {
  return impl_ ? NodeAccess::MakeDocument(impl_->doc) : Document();
}

Node Node::firstChild() const {
  if (!impl_) return {};
  Materialize(impl_);
  return Wrap(impl_->first);
}

Node Node::lastChild() const {
  if (!impl_) return {};
  Materialize(impl_);
  return Wrap(impl_->last());
}

Node Node::nextSibling() const { return impl_ ? Wrap(impl_->next) : Node(); }

Node Node::previousSibling() const {
  if (!impl_ || !impl_->parent || impl_->parent->first == impl_) return {};
  return Wrap(impl_->prev);
}

bool Node::hasChildNodes() const {
  return impl_ && (impl_->first || (impl_->type == NodeType::Element && !impl_->value.empty()));
}

std::vector<Node> Node::childNodes() const {
  std::vector<Node> out;
  if (!impl_) return out;
  Materialize(impl_);
  for (NodeImpl* c = impl_->first; c; c = c->next) out.push_back(Wrap(c));
  return out;
}

Node Node::appendChild(const Node& child) {
  if (!impl_ || !child.impl_) return {};
  Insert(impl_, child.impl_, nullptr);
  return child;
}

Node Node::insertBefore(const Node& child, const Node& reference) {
  if (!impl_ || !child.impl_) return {};
  if (reference.impl_ && reference.impl_->parent != impl_) {
    Invalid("the reference node is not a child of this node");
  }
  Insert(impl_, child.impl_, reference.impl_);
  return child;
}

Node Node::removeChild(const Node& child) {
  if (!impl_ || !child.impl_) return {};
  if (child.impl_->parent != impl_) Invalid("the node is not a child of this node");
  Relinked(impl_, child.impl_);
  Unlink(child.impl_);  // the caller's handle keeps it alive
  return child;
}

Node Node::replaceChild(const Node& newChild, const Node& oldChild) {
  if (!impl_ || !newChild.impl_ || !oldChild.impl_) return {};
  if (oldChild.impl_->parent != impl_) Invalid("the node is not a child of this node");
  if (newChild == oldChild) return oldChild;
  NodeImpl* ref = oldChild.impl_->next;
  Unlink(oldChild.impl_);
  try {
    Insert(impl_, newChild.impl_, ref);
  } catch (...) {
    LinkBefore(impl_, oldChild.impl_, ref);
    throw;
  }
  Relinked(impl_, oldChild.impl_);
  return oldChild;
}

Node Node::cloneNode(bool deep) const {
  if (!impl_) return {};
  if (impl_->type == NodeType::Document) {
    NodeImpl* doc = NewDocument();
    Document result = NodeAccess::MakeDocument(doc);
    if (deep) CopyChildren(impl_, doc, doc);
    return result;
  }
  NodeImpl* copy = CopyNode(impl_, impl_->doc);
  Node result = Wrap(copy);
  if (deep) CopyChildren(impl_, copy, impl_->doc);
  return result;
}

Node Node::selectSingleNode(std::string_view name) const {
  Node found;
  if (!impl_) return found;
  ForEachNamed(
      impl_, name,
      [](void* context, NodeImpl* n) {
        *static_cast<Node*>(context) = Wrap(n);
        return false;
      },
      &found, true);
  return found;
}

std::vector<Node> Node::selectNodes(std::string_view name) const {
  std::vector<Node> out;
  if (!impl_) return out;
  ForEachNamed(
      impl_, name,
      [](void* context, NodeImpl* n) {
        static_cast<std::vector<Node>*>(context)->push_back(Wrap(n));
        return true;
      },
      &out, false);
  return out;
}

bool Node::hasAttribute(std::string_view name) const {
  return impl_ && FindAttr(impl_, name) != nullptr;
}

std::string Node::getAttribute(std::string_view name) const {
  if (!impl_) return {};
  Attr* a = FindAttr(impl_, name);
  return a ? std::string(a->value.view()) : std::string();
}

void Node::setAttribute(std::string_view name, std::string_view value) {
  if (!impl_ || impl_->type != NodeType::Element) return;
  if (Attr* a = FindAttr(impl_, name)) return a->value.assign(value);
  if (!IsValidName(name)) Invalid("not a valid attribute name");
  auto* a = new Attr{Intern(name), {}, nullptr};
  a->value.init();
  Attr** tail = reinterpret_cast<Attr**>(&impl_->extra);
  while (*tail) tail = &(*tail)->next;
  *tail = a;
  a->value.assign(value);
}

void Node::removeAttribute(std::string_view name) {
  if (!impl_ || impl_->type != NodeType::Element) return;
  for (Attr** p = reinterpret_cast<Attr**>(&impl_->extra); *p; p = &(*p)->next) {
    if ((*p)->name->view() == name) {
      Attr* a = *p;
      *p = a->next;
      a->value.reset();
      delete a;
      return;
    }
  }
}

std::vector<std::pair<std::string, std::string>> Node::attributes() const {
  std::vector<std::pair<std::string, std::string>> out;
  if (!impl_ || impl_->type != NodeType::Element) return out;
  for (Attr* a = impl_->attrs(); a; a = a->next) {
    out.emplace_back(std::string(a->name->view()), std::string(a->value.view()));
  }
  return out;
}

std::string Node::xml() const {
  std::string out;
  if (impl_) WriteMarkup(out, impl_, OutputEncoding{}, false);
  return out;
}

uint64_t ChangeCount(std::string_view elementName) { return Intern(elementName)->changes; }

// ---- Documents -------------------------------------------------------------------------------

Document Document::create() { return Document(NewDocument()); }

Node Document::documentElement() const {
  if (!impl_) return {};
  for (NodeImpl* c = impl_->first; c; c = c->next) {
    if (c->type == NodeType::Element) return Wrap(c);
  }
  return {};
}

Node Document::createElement(std::string_view tagName) const {
  if (!impl_) return {};
  if (!IsValidName(tagName)) Invalid("not a valid element name");
  NodeImpl* n = NewNode(NodeType::Element, impl_);
  n->name = Intern(tagName);
  return Wrap(n);
}

Node Document::createTextNode(std::string_view text) const {
  return impl_ ? Wrap(NewText(NodeType::Text, impl_, text)) : Node();
}

Node Document::createCDATASection(std::string_view text) const {
  return impl_ ? Wrap(NewText(NodeType::CData, impl_, text)) : Node();
}

Node Document::createComment(std::string_view text) const {
  return impl_ ? Wrap(NewText(NodeType::Comment, impl_, text)) : Node();
}

Node Document::createProcessingInstruction(std::string_view target, std::string_view data) const {
  if (!impl_) return {};
  if (!IsValidName(target)) Invalid("not a valid processing instruction target");
  NodeImpl* n = NewText(NodeType::ProcessingInstruction, impl_, data);
  n->name = Intern(target);
  return Wrap(n);
}

bool Document::load(const std::string& path) {
  if (!impl_) return false;
  ParseError& error = impl_->docData()->error;
  FileSource source(path);
  if (!source.Failed() && ParseDocument(impl_, source, path, error)) return true;
  if (!source.Failed()) return false;
  error = ParseError();
  error.errorCode = source.failure() == ENOENT ? err::kFileNotFound : err::kPathFileAccess;
  error.reason = "cannot read '" + path + "': " + std::strerror(source.failure());
  error.url = path;
  return false;
}

bool Document::loadXML(std::string_view text) {
  if (!impl_) return false;
  return ParseDocument(impl_, text, std::string(), impl_->docData()->error);
}

const ParseError& Document::parseError() const {
  return impl_ ? impl_->docData()->error : NoError();
}

std::string Document::encoding() const {
  if (!impl_) return {};
  NodeImpl* first = impl_->first;
  if (first && first->type == NodeType::ProcessingInstruction && first->name->view() == "xml") {
    std::string declared = DeclaredEncoding(first->value.view());
    if (!declared.empty()) return declared;
  }
  return "UTF-8";
}

std::string Document::saveToString() const {
  std::string out;
  if (!impl_) return out;
  OutputEncoding enc = ResolveEncoding(encoding());
  WriteMarkup(out, impl_, enc, true);
  if (enc.kind == EncodingKind::Utf16LE || enc.kind == EncodingKind::Utf16BE) {
    out = Utf8ToUtf16(out, enc.kind == EncodingKind::Utf16BE, enc.bom);
  }
  return out;
}

void Document::save(const std::string& path) const {
  if (impl_) ReplaceFile(path, saveToString());
}

}  // namespace corvale::xml

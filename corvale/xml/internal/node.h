// Node storage of the XML tree: the node record, its text storage, interned names, the node
// pool and the lifetime rules. Internal to the XML tree (corvale/xml/*.cpp); not installed.
//
// Lifetime: a node's refs counts the handles to it; a parent owns its children. A node with
// handles pins its owner document, so a document lives while it has handles or pins. A node
// is freed when it has neither handles nor a parent; freeing a subtree detaches (and keeps)
// the descendants that still have handles.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "corvale/xml/xml.h"

namespace corvale::xml {

// An interned name: one copy per distinct name, process-wide, so that element and attribute
// names cost one pointer per node and compare by address.
struct Name {
  uint32_t size;
  uint32_t hash;
  // Parse-time guesses: the name that last followed an element of this name as its next
  // sibling, and as its first child. Documents repeat their shapes, so most guesses hold and
  // the parser skips the hash lookup.
  mutable const Name* nextHint;
  mutable const Name* childHint;
  // Moves on every public tree operation that links or unlinks an element of this name or may
  // change the text of one (see ChangeCount in xml.h).
  mutable uint64_t changes;
  char data[1];  // size bytes follow, then a NUL
  std::string_view view() const { return {data, size}; }
};
const Name* Intern(std::string_view name);
const Name* Intern(const char* name);         // NUL-terminated
const Name* FindName(std::string_view name);  // null when never interned

// Text storage: up to 15 bytes inline, longer text in one heap block. Trivially copyable
// on purpose: the owner calls reset() when it drops the text.
class Str {
 public:
  static constexpr size_t kInline = 15;

  void init() { b_[kInline] = 0; }
  bool empty() const { return b_[kInline] == 0; }
  bool onHeap() const { return static_cast<unsigned char>(b_[kInline]) == kHeap; }
  size_t size() const {
    if (!onHeap()) return static_cast<unsigned char>(b_[kInline]);
    uint32_t n;
    std::memcpy(&n, b_ + sizeof(char*), sizeof n);
    return n;
  }
  const char* data() const {
    if (!onHeap()) return b_;
    char* p;
    std::memcpy(&p, b_, sizeof p);
    return p;
  }
  std::string_view view() const { return {data(), size()}; }
  void assign(std::string_view text) {
    if (text.size() > kInline || onHeap()) return assignSlow(text);
    std::memmove(b_, text.data(), text.size());
    b_[kInline] = static_cast<char>(text.size());
  }
  void reset() {
    if (onHeap()) freeHeap();
    init();
  }
  // Moves the text out of other, which becomes empty.
  void take(Str& other) {
    reset();
    std::memcpy(b_, other.b_, sizeof b_);
    other.init();
  }

 private:
  void assignSlow(std::string_view text);
  void freeHeap();
  static constexpr unsigned char kHeap = 0xFF;
  char b_[16];
};

struct Attr {
  const Name* name;
  Str value;
  Attr* next;
};

struct DocData {
  uint32_t pins = 0;  // nodes of this document that have handles
  ParseError error;
};

enum NodeFlags : uint8_t {
  kPendingWhitespace = 1,  // parse-time: whitespace that goes if an element sibling follows
  kChildIndex = 2,         // has a child index (below)
};

struct NodeImpl {
  NodeType type;
  uint8_t flags;
  uint32_t refs;
  NodeImpl* parent;
  NodeImpl* first;
  NodeImpl* next;
  NodeImpl* prev;    // circular: the first child's prev is the last child
  NodeImpl* doc;     // owner document; null for a document
  const Name* name;  // element tag, processing-instruction target
  void* extra;       // element: Attr list; document: DocData
  // Text, CDATA, comment, processing-instruction data. An element whose only child is text
  // keeps that text here instead of in a child node, until a caller asks for the node.
  Str value;

  Attr* attrs() const { return static_cast<Attr*>(extra); }
  DocData* docData() const { return static_cast<DocData*>(extra); }
  NodeImpl* owner() { return type == NodeType::Document ? this : doc; }
  NodeImpl* last() const { return first ? first->prev : nullptr; }
};

NodeImpl* NewNode(NodeType type, NodeImpl* doc);
NodeImpl* NewDocument();

inline void Retain(NodeImpl* n) {
  if (n->refs++ == 0 && n->doc) ++n->doc->docData()->pins;
}
void Release(NodeImpl* n) noexcept;

// Frees a node without parent or handles, with its descendants (iteratively).
void DestroySubtree(NodeImpl* root) noexcept;

// Raw list operations: no checks, no ownership changes. They keep the parent's child index.
void LinkLast(NodeImpl* parent, NodeImpl* child);
void LinkBefore(NodeImpl* parent, NodeImpl* child, NodeImpl* ref);
void Unlink(NodeImpl* child);
// Unlinks child and frees it when nobody holds a handle to it.
void Drop(NodeImpl* child);
// Removes all children of n, including inline text.
void DropChildren(NodeImpl* n);
// Turns an element's inline text into a real text node.
void Materialize(NodeImpl* n);
// Gives a detached subtree a new owner document, moving the pins of handled nodes.
void ChangeOwner(NodeImpl* root, NodeImpl* newDoc);

// Creates the text child of an element (inline when the element has no children).
NodeImpl* NewText(NodeType type, NodeImpl* doc, std::string_view text);

// ---- Child index -----------------------------------------------------------------------------
// An element whose children a look-up by name had to walk far gets an index: for each name of
// its child elements, the first such child and how many there are. Kept exact by the list
// operations above and dropped with the element or its children; the parser and small
// elements never have one.
struct IndexEntry {
  NodeImpl* first;
  uint32_t count;
};
// Children a look-up walks before it builds the index of their parent.
inline constexpr uint32_t kIndexAfter = 32;
void BuildChildIndex(NodeImpl* parent);
// Only for a parent with kChildIndex; null when no child element has the name.
const IndexEntry* FindIndexed(const NodeImpl* parent, const Name* name);

// What the pools hold: blocks handed out and not yet returned, and bytes taken from the
// system for them. Both are 0 once the last node is freed (under AddressSanitizer, where every
// block is its own allocation, slab bytes are always 0).
struct PoolStats {
  size_t liveBlocks;
  size_t slabBytes;
};
PoolStats GetPoolStats();

// Iterative pre-order step within the subtree of root; null when done.
inline NodeImpl* NextInSubtree(NodeImpl* n, const NodeImpl* root) {
  if (n->first) return n->first;
  while (n != root) {
    if (n->next) return n->next;
    n = n->parent;
  }
  return nullptr;
}

bool IsValidName(std::string_view name);

}  // namespace corvale::xml

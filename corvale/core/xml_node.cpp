#include "corvale/core/xml_node.h"

#include <cstdlib>
#include <new>

namespace corvale::xml {

// ---- Interned names ------------------------------------------------------------------------
// An open-addressing table reached through plain pointers: the table lives for the whole
// process and stays reachable for leak checkers after static destructors have run.
namespace {
struct NameTable {
  const Name** slots;
  uint32_t mask;
  uint32_t count;
};
NameTable* g_names = nullptr;

uint32_t HashName(std::string_view s) {
  uint32_t h = 2166136261u;
  for (unsigned char c : s) h = (h ^ c) * 16777619u;
  return h;
}

void GrowNames() {
  uint32_t newSize = g_names->slots ? (g_names->mask + 1) * 2 : 256;
  auto** slots = static_cast<const Name**>(std::calloc(newSize, sizeof(Name*)));
  if (!slots) throw std::bad_alloc();
  for (uint32_t i = 0; g_names->slots && i <= g_names->mask; ++i) {
    const Name* n = g_names->slots[i];
    if (!n) continue;
    uint32_t j = n->hash & (newSize - 1);
    while (slots[j]) j = (j + 1) & (newSize - 1);
    slots[j] = n;
  }
  std::free(g_names->slots);
  g_names->slots = slots;
  g_names->mask = newSize - 1;
}
}  // namespace

const Name* FindName(std::string_view s) {
  if (!g_names) return nullptr;
  uint32_t h = HashName(s);
  for (uint32_t i = h & g_names->mask;; i = (i + 1) & g_names->mask) {
    const Name* n = g_names->slots[i];
    if (!n) return nullptr;
    if (n->hash == h && n->view() == s) return n;
  }
}

const Name* Intern(std::string_view s) {
  if (!g_names) {
    g_names = new NameTable{nullptr, 0, 0};
    GrowNames();
  }
  uint32_t h = HashName(s);
  uint32_t i = h & g_names->mask;
  for (;; i = (i + 1) & g_names->mask) {
    const Name* n = g_names->slots[i];
    if (!n) break;
    if (n->hash == h && n->view() == s) return n;
  }
  auto* n = static_cast<Name*>(std::malloc(sizeof(Name) + s.size()));
  if (!n) throw std::bad_alloc();
  n->size = static_cast<uint32_t>(s.size());
  n->hash = h;
  std::memcpy(n->data, s.data(), s.size());
  n->data[s.size()] = '\0';
  g_names->slots[i] = n;
  if (++g_names->count * 2 > g_names->mask) GrowNames();
  return n;
}

bool IsValidName(std::string_view name) {
  if (name.empty()) return false;
  auto start = [](unsigned char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c == ':' || c >= 0x80;
  };
  if (!start(static_cast<unsigned char>(name[0]))) return false;
  for (unsigned char c : name) {
    if (!start(c) && !(c >= '0' && c <= '9') && c != '-' && c != '.') return false;
  }
  return true;
}

// ---- Text storage --------------------------------------------------------------------------
void Str::assign(std::string_view text) {
  reset();
  if (text.size() <= kInline) {
    std::memcpy(b_, text.data(), text.size());
    b_[kInline] = static_cast<char>(text.size());
    return;
  }
  auto* p = static_cast<char*>(std::malloc(text.size()));
  if (!p) throw std::bad_alloc();
  std::memcpy(p, text.data(), text.size());
  auto n = static_cast<uint32_t>(text.size());
  std::memcpy(b_, &p, sizeof p);
  std::memcpy(b_ + sizeof p, &n, sizeof n);
  b_[kInline] = static_cast<char>(kHeap);
}

void Str::reset() {
  if (onHeap()) std::free(const_cast<char*>(data()));
  init();
}

// ---- Node pool -----------------------------------------------------------------------------
// Nodes come from 64 KiB slabs with a free list: no per-node allocator overhead, and the
// nodes of one document lie close together. Slabs are kept for reuse. Under AddressSanitizer
// each node is its own allocation so that use-after-free is still caught.
namespace {
#if defined(__SANITIZE_ADDRESS__)
#define CORVALE_XML_NO_POOL 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define CORVALE_XML_NO_POOL 1
#endif
#endif

#ifndef CORVALE_XML_NO_POOL
struct FreeBlock {
  FreeBlock* next;
};
struct Slab {
  Slab* next;
};
FreeBlock* g_free = nullptr;
Slab* g_slabs = nullptr;
constexpr size_t kSlabBytes = 64 * 1024;

void Refill() {
  auto* slab = static_cast<Slab*>(std::malloc(kSlabBytes));
  if (!slab) throw std::bad_alloc();
  slab->next = g_slabs;
  g_slabs = slab;
  constexpr size_t kHeader =
      (sizeof(Slab) + alignof(NodeImpl) - 1) / alignof(NodeImpl) * alignof(NodeImpl);
  char* base = reinterpret_cast<char*>(slab) + kHeader;
  size_t count = (kSlabBytes - kHeader) / sizeof(NodeImpl);
  for (size_t i = count; i-- > 0;) {
    auto* b = reinterpret_cast<FreeBlock*>(base + i * sizeof(NodeImpl));
    b->next = g_free;
    g_free = b;
  }
}
#endif

void* AllocNode() {
#ifdef CORVALE_XML_NO_POOL
  return ::operator new(sizeof(NodeImpl));
#else
  if (!g_free) Refill();
  FreeBlock* b = g_free;
  g_free = b->next;
  return b;
#endif
}

void FreeNode(NodeImpl* n) {
#ifdef CORVALE_XML_NO_POOL
  ::operator delete(n);
#else
  auto* b = reinterpret_cast<FreeBlock*>(n);
  b->next = g_free;
  g_free = b;
#endif
}

void FreeNodeData(NodeImpl* n) {
  n->value.reset();
  if (n->type == NodeType::Element) {
    for (Attr* a = n->attrs(); a;) {
      Attr* next = a->next;
      a->value.reset();
      delete a;
      a = next;
    }
  } else if (n->type == NodeType::Document) {
    delete n->docData();
  }
  FreeNode(n);
}
}  // namespace

NodeImpl* NewNode(NodeType type, NodeImpl* doc) {
  auto* n = static_cast<NodeImpl*>(AllocNode());
  n->type = type;
  n->flags = 0;
  n->refs = 0;
  n->parent = n->first = n->next = n->prev = nullptr;
  n->doc = doc;
  n->name = nullptr;
  n->extra = nullptr;
  n->value.init();
  return n;
}

NodeImpl* NewDocument() {
  auto* data = new DocData();
  NodeImpl* n = NewNode(NodeType::Document, nullptr);
  n->extra = data;
  return n;
}

NodeImpl* NewText(NodeType type, NodeImpl* doc, std::string_view text) {
  NodeImpl* n = NewNode(type, doc);
  n->value.assign(text);
  return n;
}

// ---- Lifetime ------------------------------------------------------------------------------
void DestroySubtree(NodeImpl* root) noexcept {
  // A work list threaded through the next pointers: constant extra memory at any depth.
  root->next = nullptr;
  NodeImpl* work = root;
  while (work) {
    NodeImpl* n = work;
    work = n->next;
    for (NodeImpl* c = n->first; c;) {
      NodeImpl* following = c->next;
      c->parent = nullptr;
      c->prev = nullptr;
      c->next = nullptr;
      if (c->refs == 0) {
        c->next = work;
        work = c;
      }
      c = following;
    }
    FreeNodeData(n);
  }
}

namespace {
void Unpin(NodeImpl* doc) noexcept {
  DocData* d = doc->docData();
  if (--d->pins == 0 && doc->refs == 0) DestroySubtree(doc);
}
}  // namespace

void Release(NodeImpl* n) noexcept {
  if (--n->refs != 0) return;
  if (n->type == NodeType::Document) {
    if (n->docData()->pins == 0) DestroySubtree(n);
    return;
  }
  NodeImpl* doc = n->doc;
  if (!n->parent) DestroySubtree(n);
  Unpin(doc);
}

void LinkLast(NodeImpl* parent, NodeImpl* child) {
  child->parent = parent;
  child->next = nullptr;
  if (NodeImpl* first = parent->first) {
    NodeImpl* last = first->prev;
    last->next = child;
    child->prev = last;
    first->prev = child;
  } else {
    parent->first = child;
    child->prev = child;
  }
}

void LinkBefore(NodeImpl* parent, NodeImpl* child, NodeImpl* ref) {
  if (!ref) return LinkLast(parent, child);
  child->parent = parent;
  child->next = ref;
  child->prev = ref->prev;
  if (parent->first == ref) {
    parent->first = child;
  } else {
    ref->prev->next = child;
  }
  ref->prev = child;
}

void Unlink(NodeImpl* child) {
  NodeImpl* parent = child->parent;
  if (!parent) return;
  NodeImpl* first = parent->first;
  if (child == first) {
    parent->first = child->next;
    if (child->next) child->next->prev = child->prev;
  } else {
    child->prev->next = child->next;
    if (child->next) {
      child->next->prev = child->prev;
    } else {
      first->prev = child->prev;
    }
  }
  child->parent = child->next = child->prev = nullptr;
}

void Drop(NodeImpl* child) {
  Unlink(child);
  if (child->refs == 0) DestroySubtree(child);
}

void DropChildren(NodeImpl* n) {
  n->value.reset();
  while (n->first) Drop(n->first);
}

void Materialize(NodeImpl* n) {
  if (n->type != NodeType::Element || n->value.empty()) return;
  NodeImpl* t = NewNode(NodeType::Text, n->doc);
  t->value.take(n->value);
  LinkLast(n, t);
}

void ChangeOwner(NodeImpl* root, NodeImpl* newDoc) {
  NodeImpl* oldDoc = root->doc;
  if (oldDoc == newDoc) return;
  uint32_t moved = 0;
  for (NodeImpl* n = root; n; n = NextInSubtree(n, root)) {
    n->doc = newDoc;
    if (n->refs) ++moved;
  }
  if (moved == 0) return;
  newDoc->docData()->pins += moved;
  // The old document may have been alive only through these nodes.
  oldDoc->docData()->pins -= moved - 1;
  Unpin(oldDoc);
}

}  // namespace corvale::xml

#include "corvale/xml/internal/node.h"

#include <sys/mman.h>

#include <cstdlib>
#include <new>
#include <stdexcept>
#include <unordered_map>

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

uint64_t Load8(const char* p) {
  uint64_t v;
  std::memcpy(&v, p, 8);
  return v;
}
uint32_t Load4(const char* p) {
  uint32_t v;
  std::memcpy(&v, p, 4);
  return v;
}
__extension__ typedef unsigned __int128 Wide;
uint64_t Mix(uint64_t a, uint64_t b) {
  Wide r = static_cast<Wide>(a) * b;
  return static_cast<uint64_t>(r) ^ static_cast<uint64_t>(r >> 64);
}

// Names are short: a few word loads and one multiply instead of a loop over the bytes.
uint32_t HashName(std::string_view s) {
  const char* p = s.data();
  size_t n = s.size();
  uint64_t a = 0, b = 0, seed = 0x9E3779B97F4A7C15ull ^ n;
  if (n > 16) {
    size_t i = 0;
    for (; i + 16 < n; i += 16)
      seed = Mix(Load8(p + i) ^ 0xA0761D6478BD642Full, Load8(p + i + 8) ^ seed);
    a = Load8(p + n - 16);
    b = Load8(p + n - 8);
  } else if (n >= 8) {
    a = Load8(p);
    b = Load8(p + n - 8);
  } else if (n >= 4) {
    a = Load4(p);
    b = Load4(p + n - 4);
  } else if (n > 0) {
    a = static_cast<uint64_t>(static_cast<unsigned char>(p[0])) << 16 |
        static_cast<uint64_t>(static_cast<unsigned char>(p[n >> 1])) << 8 |
        static_cast<unsigned char>(p[n - 1]);
  }
  uint64_t h = Mix(a ^ 0xA0761D6478BD642Full, b ^ seed);
  return static_cast<uint32_t>(h ^ (h >> 32));
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
    if (n->hash == h && n->size == s.size() && std::memcmp(n->data, s.data(), s.size()) == 0) {
      return n;
    }
  }
}

namespace {
const Name* Insert(std::string_view s, uint32_t h, uint32_t i) {
  auto* n = static_cast<Name*>(std::malloc(sizeof(Name) + s.size()));
  if (!n) throw std::bad_alloc();
  n->size = static_cast<uint32_t>(s.size());
  n->hash = h;
  n->nextHint = n->childHint = nullptr;
  n->changes = 0;
  std::memcpy(n->data, s.data(), s.size());
  n->data[s.size()] = '\0';
  g_names->slots[i] = n;
  if (++g_names->count * 2 > g_names->mask) GrowNames();
  return n;
}

void InitNames() {
  g_names = new NameTable{nullptr, 0, 0};
  GrowNames();
}
}  // namespace

const Name* Intern(std::string_view s) {
  if (!g_names) InitNames();
  uint32_t h = HashName(s);
  uint32_t i = h & g_names->mask;
  for (;; i = (i + 1) & g_names->mask) {
    const Name* n = g_names->slots[i];
    if (!n) return Insert(s, h, i);
    if (n->hash == h && n->size == s.size() && std::memcmp(n->data, s.data(), s.size()) == 0) {
      return n;
    }
  }
}

const Name* Intern(const char* s) { return Intern(std::string_view(s)); }

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

// ---- Pools ---------------------------------------------------------------------------------
// Nodes and texts up to 1 KiB come from 64 KiB slabs with one free list per block size:
// no per-block allocator overhead, and a document's nodes lie close together. Slabs are mapped
// from the system and kept for reuse while any block is out; when the last one comes back
// (the last document and node handle are gone) they are all unmapped. Under
// AddressSanitizer every block is its own allocation so that use-after-free is still caught.
namespace {
#if defined(__SANITIZE_ADDRESS__)
#define CORVALE_XML_NO_POOL 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define CORVALE_XML_NO_POOL 1
#endif
#endif

struct FreeBlock {
  FreeBlock* next;
};
struct Slab {
  Slab* next;
  void* align;
};

struct Pool {
  size_t blockSize;
  FreeBlock* free;
};

static_assert(sizeof(NodeImpl) % alignof(NodeImpl) == 0);
Pool g_nodes{sizeof(NodeImpl), nullptr};
Pool g_texts[6] = {{32, nullptr},  {64, nullptr},  {128, nullptr},
                   {256, nullptr}, {512, nullptr}, {1024, nullptr}};
size_t g_liveBlocks = 0;

#ifndef CORVALE_XML_NO_POOL
Slab* g_slabs = nullptr;
size_t g_slabCount = 0;
constexpr size_t kSlabBytes = 64 * 1024;

void Refill(Pool& pool) {
  void* mapped =
      mmap(nullptr, kSlabBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapped == MAP_FAILED) throw std::bad_alloc();
  auto* slab = static_cast<Slab*>(mapped);
  slab->next = g_slabs;
  g_slabs = slab;
  ++g_slabCount;
  char* base = reinterpret_cast<char*>(slab + 1);
  size_t count = (kSlabBytes - sizeof(Slab)) / pool.blockSize;
  for (size_t i = count; i-- > 0;) {
    auto* b = reinterpret_cast<FreeBlock*>(base + i * pool.blockSize);
    b->next = pool.free;
    pool.free = b;
  }
}

// Every block is back: no free list points anywhere else.
void UnmapSlabs() noexcept {
  g_nodes.free = nullptr;
  for (Pool& pool : g_texts) pool.free = nullptr;
  while (Slab* slab = g_slabs) {
    g_slabs = slab->next;
    munmap(slab, kSlabBytes);
  }
  g_slabCount = 0;
}
#endif

inline void* Take(Pool& pool) {
#ifdef CORVALE_XML_NO_POOL
  void* p = ::operator new(pool.blockSize);
#else
  if (!pool.free) Refill(pool);
  FreeBlock* p = pool.free;
  pool.free = p->next;
#endif
  ++g_liveBlocks;
  return p;
}

inline void Give(Pool& pool, void* p) noexcept {
#ifdef CORVALE_XML_NO_POOL
  (void)pool;
  ::operator delete(p);
  --g_liveBlocks;
#else
  auto* b = static_cast<FreeBlock*>(p);
  b->next = pool.free;
  pool.free = b;
  if (--g_liveBlocks == 0) UnmapSlabs();
#endif
}

Pool* TextPool(size_t size) {
  if (size <= 32) return &g_texts[0];
  if (size <= 64) return &g_texts[1];
  if (size <= 128) return &g_texts[2];
  if (size <= 256) return &g_texts[3];
  if (size <= 512) return &g_texts[4];
  if (size <= 1024) return &g_texts[5];
  return nullptr;
}

char* AllocText(size_t size) {
  if (Pool* pool = TextPool(size)) return static_cast<char*>(Take(*pool));
  auto* p = static_cast<char*>(std::malloc(size));
  if (!p) throw std::bad_alloc();
  return p;
}

void FreeText(char* p, size_t size) {
  if (Pool* pool = TextPool(size)) return Give(*pool, p);
  std::free(p);
}

void* AllocNode() { return Take(g_nodes); }
void FreeNode(NodeImpl* n) { Give(g_nodes, n); }
}  // namespace

PoolStats GetPoolStats() {
#ifdef CORVALE_XML_NO_POOL
  return {g_liveBlocks, 0};
#else
  return {g_liveBlocks, g_slabCount * kSlabBytes};
#endif
}

// ---- Child index -----------------------------------------------------------------------------
namespace {
using ChildIndex = std::unordered_map<const Name*, IndexEntry>;
// Reached through a plain pointer and deleted when empty, as the pools are.
std::unordered_map<const NodeImpl*, ChildIndex>* g_indexes = nullptr;

ChildIndex& IndexOf(const NodeImpl* parent) { return g_indexes->find(parent)->second; }

void DropChildIndex(NodeImpl* parent) noexcept {
  if (!(parent->flags & kChildIndex)) return;
  parent->flags &= static_cast<uint8_t>(~kChildIndex);
  g_indexes->erase(parent);
  if (g_indexes->empty()) {
    delete g_indexes;
    g_indexes = nullptr;
  }
}

// Whether child a stands before its sibling b. Both walk back in turn, so that the cost is
// the distance of the nearer one from the first child.
bool Precedes(const NodeImpl* parent, const NodeImpl* a, const NodeImpl* b) {
  if (!a->next) return false;
  if (a->next == b) return true;
  for (const NodeImpl *x = a, *y = b;;) {
    if (x == parent->first) return true;
    x = x->prev;
    if (x == b) return false;
    if (y == parent->first) return false;
    y = y->prev;
    if (y == a) return true;
  }
}

// After child was linked under an indexed parent.
void IndexLinked(NodeImpl* parent, NodeImpl* child) noexcept {
  if (child->type != NodeType::Element) return;
  try {
    auto [entry, fresh] = IndexOf(parent).try_emplace(child->name, IndexEntry{child, 1});
    if (fresh) return;
    ++entry->second.count;
    if (Precedes(parent, child, entry->second.first)) entry->second.first = child;
  } catch (...) {
    DropChildIndex(parent);  // out of memory: look-ups walk again
  }
}

// Before child is unlinked from an indexed parent.
void IndexUnlinking(NodeImpl* parent, NodeImpl* child) noexcept {
  if (child->type != NodeType::Element) return;
  ChildIndex& index = IndexOf(parent);
  auto entry = index.find(child->name);
  if (--entry->second.count == 0) {
    index.erase(entry);
    return;
  }
  if (entry->second.first != child) return;
  NodeImpl* next = child->next;
  while (next->type != NodeType::Element || next->name != child->name) next = next->next;
  entry->second.first = next;
}
}  // namespace

void BuildChildIndex(NodeImpl* parent) {
  if (parent->flags & kChildIndex) return;
  try {
    ChildIndex index;
    for (NodeImpl* c = parent->first; c; c = c->next) {
      if (c->type != NodeType::Element) continue;
      ++index.try_emplace(c->name, IndexEntry{c, 0}).first->second.count;
    }
    if (!g_indexes) g_indexes = new std::unordered_map<const NodeImpl*, ChildIndex>();
    g_indexes->insert_or_assign(parent, std::move(index));
    parent->flags |= kChildIndex;
  } catch (const std::bad_alloc&) {
    if (g_indexes && g_indexes->empty()) {
      delete g_indexes;
      g_indexes = nullptr;
    }
  }
}

const IndexEntry* FindIndexed(const NodeImpl* parent, const Name* name) {
  const ChildIndex& index = IndexOf(parent);
  auto entry = index.find(name);
  return entry == index.end() ? nullptr : &entry->second;
}

// ---- Text storage --------------------------------------------------------------------------
void Str::assignSlow(std::string_view text) {
  // Built aside first: text may lie in this very storage.
  char fresh[sizeof b_];
  if (text.size() <= kInline) {
    std::memcpy(fresh, text.data(), text.size());
    fresh[kInline] = static_cast<char>(text.size());
  } else {
    if (text.size() > UINT32_MAX) throw std::length_error("XML text too long");
    char* p = AllocText(text.size());
    std::memcpy(p, text.data(), text.size());
    auto n = static_cast<uint32_t>(text.size());
    std::memcpy(fresh, &p, sizeof p);
    std::memcpy(fresh + sizeof p, &n, sizeof n);
    fresh[kInline] = static_cast<char>(kHeap);
  }
  reset();
  std::memcpy(b_, fresh, sizeof b_);
}

void Str::freeHeap() { FreeText(const_cast<char*>(data()), size()); }

namespace {
void FreeNodeData(NodeImpl* n) {
  DropChildIndex(n);
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
  if (parent->flags & kChildIndex) IndexLinked(parent, child);
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
  if (parent->flags & kChildIndex) IndexLinked(parent, child);
}

void Unlink(NodeImpl* child) {
  NodeImpl* parent = child->parent;
  if (!parent) return;
  if (parent->flags & kChildIndex) IndexUnlinking(parent, child);
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
  DropChildIndex(n);  // cheaper than keeping it up to date child by child
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

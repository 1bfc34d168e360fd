// The one ordered, 1-based collection behind every model collection: an optional key per
// item, keys compared without regard to case, hashed key look-ups, error 9 for a missing
// position or key, 457 for a repeated key, signed 16-bit counts, and the generated keys of the
// model ("CHAN_" + the first free n).
//
// Collections of thousands of items are edited one item at a time, so every single operation
// stays O(log n) apart from inserting before the end: a removed entry leaves a hole in the
// slot list until the next compaction, a Fenwick tree counts the live slots before any slot
// (position <-> slot), and generated keys start from a hint instead of from 0.
#pragma once

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/core/index.h"

namespace corvale {

// The generated key prefix + n, n written with at least two digits when twoDigits is set.
inline std::string GeneratedKey(std::string_view prefix, int32_t n, bool twoDigits) {
  return std::string(prefix) + (twoDigits ? Format00(n) : IntegerText(n));
}

// Key generation of the model collections: the first `prefix` + n that is not taken, n
// counting from `first` as a signed 16-bit number (error 6 past its range); `twoDigits`
// writes n with at least two digits ("EVENT01").
template <class IsTaken>
std::string FirstFreeKey(std::string_view prefix, const IsTaken& isTaken, int32_t first = 0,
                         bool twoDigits = false) {
  for (int32_t n = first; n <= std::numeric_limits<int16_t>::max(); ++n) {
    std::string key = GeneratedKey(prefix, n, twoDigits);
    if (!isTaken(key)) return key;
  }
  throw Error(err::kOverflow);
}

template <class T>
class KeyedCollection {
 public:
  using Pointer = std::shared_ptr<T>;
  struct Entry {
    Pointer item;     // null: a hole left by a removal
    std::string key;  // "" when the item has no key
  };

  int16_t Count() const { return static_cast<int16_t>(alive_); }
  bool Empty() const { return alive_ == 0; }

  // The item at a 1-based position or with a key; raises 9 when there is none.
  Pointer Item(const Index& index) const { return slots_[Slot(index)].item; }
  // The item with a key, or null.
  Pointer Find(std::string_view key) const {
    auto slot = FindSlot(key);
    return slot ? slots_[*slot].item : nullptr;
  }
  bool Exists(std::string_view key) const { return FindSlot(key).has_value(); }
  // The first generated key that no item holds (keys compare without regard to case).
  std::string FirstFreeKey(std::string_view prefix, int32_t first = 0,
                           bool twoDigits = false) const {
    KeyHint& hint = HintFor(prefix, first, twoDigits);
    for (int32_t n = hint.next; n <= std::numeric_limits<int16_t>::max(); ++n) {
      std::string key = GeneratedKey(prefix, n, twoDigits);
      if (!Exists(key)) {
        hint.next = n;
        return key;
      }
    }
    throw Error(err::kOverflow);
  }
  // 1-based position of the item at an index; raises 9 when there is none.
  int16_t PositionOf(const Index& index) const {
    return static_cast<int16_t>(LiveBefore(Slot(index)) + 1);
  }
  // 1-based position of an item object, 0 when it is not in the collection.
  int16_t PositionOfItem(const T* item) const {
    for (size_t slot = 0; slot < slots_.size(); ++slot)
      if (slots_[slot].item.get() == item) return static_cast<int16_t>(LiveBefore(slot) + 1);
    return 0;
  }
  const std::string& KeyAt(int32_t position) const { return slots_[Slot(position)].key; }

  // Adds an item, at the end or before/after an existing position or key. Raises 457 for a
  // key already present, 9 for a missing before/after, 5 when both are given, 6 when the
  // count would pass the 16-bit range. Returns the item's 1-based position.
  int16_t Add(Pointer item, std::string_view key = {},
              const std::optional<Index>& before = std::nullopt,
              const std::optional<Index>& after = std::nullopt) {
    if (before && after) throw Error(err::kInvalidProcedureCall);
    if (!key.empty() && Exists(key)) throw Error(err::kDuplicateKey);
    if (alive_ >= static_cast<size_t>(std::numeric_limits<int16_t>::max()))
      throw Error(err::kOverflow);
    std::optional<size_t> slot;
    if (before) slot = Slot(*before);
    if (after) slot = NextLiveSlot(Slot(*after) + 1);
    if (!slot || *slot == slots_.size()) return Append(std::move(item), key);
    // Before the end every later slot moves: rebuilt in one pass, holes dropped on the way.
    const size_t position = LiveBefore(*slot) + 1;
    slots_.insert(slots_.begin() + static_cast<std::ptrdiff_t>(*slot),
                  Entry{std::move(item), std::string(key)});
    ++alive_;
    keysFresh_ = false;
    Compact();
    return static_cast<int16_t>(position);
  }

  // Removes the item at a position or with a key; raises 9 when there is none.
  Pointer Remove(const Index& index) {
    const size_t slot = Slot(index);
    Entry& entry = slots_[slot];
    Pointer item = std::move(entry.item);
    if (!entry.key.empty()) {
      EraseKey(entry.key);
      KeyLeft(entry.key);
      entry.key.clear();
    }
    --alive_;
    AddToTree(slot, -1);
    ++holes_;
    DropTrailingHoles();
    if (holes_ > 16 && holes_ > alive_) Compact();
    return item;
  }

  // Gives the item at an index another key ("" for none); raises 457 for a key held by
  // another item, 9 for a missing index.
  void ReKey(const Index& index, std::string_view newKey) {
    const size_t slot = Slot(index);
    if (!newKey.empty()) {
      auto holder = FindSlot(newKey);
      if (holder && *holder != slot) throw Error(err::kDuplicateKey);
    }
    Entry& entry = slots_[slot];
    if (!entry.key.empty()) {
      EraseKey(entry.key);
      KeyLeft(entry.key);
    }
    if (!newKey.empty()) keys_.emplace(std::string(newKey), slot);
    entry.key = std::string(newKey);
  }

  void Clear() {
    slots_.clear();
    tree_.assign(1, 0);
    keys_.clear();
    hints_.clear();
    alive_ = 0;
    holes_ = 0;
  }

  // The live entries in order. Iterating compacts the slots first, so no hole is visited;
  // the collection must not change while it is iterated.
  typename std::vector<Entry>::const_iterator begin() const {
    Compact();
    return slots_.cbegin();
  }
  typename std::vector<Entry>::const_iterator end() const { return slots_.cend(); }
  const std::vector<Entry>& Entries() const {
    Compact();
    return slots_;
  }

 private:
  struct KeyHint {
    std::string prefix;  // upper case
    int32_t first;
    bool twoDigits;
    int32_t next;  // every n from first up to, not including, next is taken
  };

  int16_t Append(Pointer item, std::string_view key) {
    const size_t slot = slots_.size();
    slots_.push_back(Entry{std::move(item), std::string(key)});
    // The new node of the tree covers the slots (slot + 1 - lowbit, slot + 1]: the live ones
    // among them are counted by two prefix sums, plus itself.
    const size_t node = slot + 1;
    const size_t low = node & (~node + 1);
    tree_.push_back(static_cast<int32_t>(LiveBefore(slot) - LiveBefore(node - low)) + 1);
    ++alive_;
    if (!key.empty()) keys_.emplace(std::string(key), slot);
    return static_cast<int16_t>(alive_);
  }

  size_t Slot(const Index& index) const {
    if (index.IsPosition()) {
      const int32_t position = index.Position();
      if (position < 1 || static_cast<size_t>(position) > alive_)
        throw Error(err::kSubscriptOutOfRange);
      return SlotOfPosition(static_cast<size_t>(position));
    }
    auto slot = FindSlot(index.Key());
    if (!slot) throw Error(err::kSubscriptOutOfRange);
    return *slot;
  }

  std::optional<size_t> FindSlot(std::string_view key) const {
    if (key.empty()) return std::nullopt;
    auto found = keys_.find(key);
    if (found == keys_.end()) return std::nullopt;
    return found->second;
  }

  // The first live slot at or after slot; slots_.size() when there is none.
  size_t NextLiveSlot(size_t slot) const {
    while (slot < slots_.size() && !slots_[slot].item) ++slot;
    return slot;
  }

  // Live slots before slot (0-based slot): the Fenwick prefix sum.
  size_t LiveBefore(size_t slot) const {
    size_t count = 0;
    for (size_t node = slot; node > 0; node &= node - 1) count += static_cast<size_t>(tree_[node]);
    return count;
  }

  void AddToTree(size_t slot, int32_t delta) {
    for (size_t node = slot + 1; node < tree_.size(); node += node & (~node + 1))
      tree_[node] += delta;
  }

  // The slot of the live entry at a 1-based position (binary lifting over the tree).
  size_t SlotOfPosition(size_t position) const {
    size_t node = 0;
    size_t step = 1;
    while (step * 2 < tree_.size()) step *= 2;
    for (; step > 0; step /= 2) {
      if (node + step < tree_.size() && static_cast<size_t>(tree_[node + step]) < position) {
        node += step;
        position -= static_cast<size_t>(tree_[node]);
      }
    }
    return node;  // the 1-based node after the last one counted is the 0-based slot
  }

  void DropTrailingHoles() {
    while (!slots_.empty() && !slots_.back().item) {
      slots_.pop_back();
      tree_.pop_back();
      --holes_;
    }
  }

  void EraseKey(std::string_view key) const {
    if (auto found = keys_.find(key); found != keys_.end()) keys_.erase(found);
  }

  // Drops the holes in place and rebuilds the tree. The key index keeps its nodes and only
  // learns the new slots, so a compaction allocates nothing: removing thousands of items
  // one by one does not churn the allocator.
  void Compact() const {
    if (holes_ == 0 && keysFresh_) return;
    if (holes_ > 0) {
      moved_.assign(slots_.size(), 0);
      size_t kept = 0;
      for (size_t slot = 0; slot < slots_.size(); ++slot) {
        if (!slots_[slot].item) continue;
        moved_[slot] = kept;
        if (kept != slot) slots_[kept] = std::move(slots_[slot]);
        ++kept;
      }
      slots_.resize(kept);
      holes_ = 0;
      if (keysFresh_)
        for (auto& [key, slot] : keys_) slot = moved_[slot];
    }
    tree_.assign(slots_.size() + 1, 0);
    for (size_t node = 1; node < tree_.size(); ++node) {
      tree_[node] += 1;
      const size_t parent = node + (node & (~node + 1));
      if (parent < tree_.size()) tree_[parent] += tree_[node];
    }
    if (!keysFresh_) {
      keys_.clear();
      for (size_t slot = 0; slot < slots_.size(); ++slot)
        if (!slots_[slot].key.empty()) keys_.emplace(slots_[slot].key, slot);
      keysFresh_ = true;
    }
  }

  KeyHint& HintFor(std::string_view prefix, int32_t first, bool twoDigits) const {
    const std::string upper = UpperCase(prefix);
    for (KeyHint& hint : hints_)
      if (hint.prefix == upper && hint.first == first && hint.twoDigits == twoDigits) return hint;
    hints_.push_back(KeyHint{upper, first, twoDigits, first});
    return hints_.back();
  }

  // A key left the collection: a generated number it stood for is free again.
  void KeyLeft(std::string_view key) const {
    for (KeyHint& hint : hints_) {
      if (key.size() <= hint.prefix.size() || key.size() > hint.prefix.size() + 5) continue;
      if (UpperCase(key.substr(0, hint.prefix.size())) != hint.prefix) continue;
      const std::string_view digits = key.substr(hint.prefix.size());
      int32_t n = 0;
      bool numeric = true;
      for (char c : digits) {
        if (c < '0' || c > '9') numeric = false;
        n = n * 10 + (c - '0');
      }
      if (!numeric || n < hint.first || n >= hint.next) continue;
      if (GeneratedKey("", n, hint.twoDigits) == digits) hint.next = n;
    }
  }

  mutable std::vector<Entry> slots_;
  mutable std::vector<int32_t> tree_ = std::vector<int32_t>(1, 0);  // tree_[0] unused
  mutable std::unordered_map<std::string, size_t, NoCaseHash, NoCaseEqual> keys_;  // key -> slot
  mutable std::vector<size_t> moved_;  // compaction scratch: old slot -> new slot
  mutable std::vector<KeyHint> hints_;
  mutable size_t holes_ = 0;
  mutable bool keysFresh_ = true;
  size_t alive_ = 0;
};

}  // namespace corvale

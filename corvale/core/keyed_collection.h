// The one ordered, 1-based collection behind every model collection: an optional key per
// item, keys compared without regard to case, hashed key look-ups, error 9 for a missing
// position or key, 457 for a repeated key, signed 16-bit counts. Key generation belongs to
// the users of this template, not to it.
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

// Key generation of the model collections: the first `prefix` + n that is not taken, n
// counting from `first` as a signed 16-bit number (error 6 past its range); `twoDigits`
// writes n with at least two digits ("EVENT01").
template <class IsTaken>
std::string FirstFreeKey(std::string_view prefix, const IsTaken& isTaken, int32_t first = 0,
                         bool twoDigits = false) {
  for (int32_t n = first; n <= std::numeric_limits<int16_t>::max(); ++n) {
    std::string key = std::string(prefix) + (twoDigits ? Format00(n) : IntegerText(n));
    if (!isTaken(key)) return key;
  }
  throw Error(err::kOverflow);
}

template <class T>
class KeyedCollection {
 public:
  using Pointer = std::shared_ptr<T>;
  struct Entry {
    Pointer item;
    std::string key;  // "" when the item has no key
  };

  int16_t Count() const { return static_cast<int16_t>(entries_.size()); }
  bool Empty() const { return entries_.empty(); }

  // The item at a 1-based position or with a key; raises 9 when there is none.
  Pointer Item(const Index& index) const { return entries_[Slot(index)].item; }
  // The item with a key, or null.
  Pointer Find(std::string_view key) const {
    auto slot = FindSlot(key);
    return slot ? entries_[*slot].item : nullptr;
  }
  bool Exists(std::string_view key) const { return FindSlot(key).has_value(); }
  // The first generated key that no item holds (keys compare without regard to case).
  std::string FirstFreeKey(std::string_view prefix, int32_t first = 0,
                           bool twoDigits = false) const {
    return corvale::FirstFreeKey(
        prefix, [this](const std::string& key) { return Exists(key); }, first, twoDigits);
  }
  // 1-based position of the item at an index; raises 9 when there is none.
  int16_t PositionOf(const Index& index) const { return static_cast<int16_t>(Slot(index) + 1); }
  // 1-based position of an item object, 0 when it is not in the collection.
  int16_t PositionOfItem(const T* item) const {
    for (size_t i = 0; i < entries_.size(); ++i)
      if (entries_[i].item.get() == item) return static_cast<int16_t>(i + 1);
    return 0;
  }
  const std::string& KeyAt(int32_t position) const { return entries_[Slot(position)].key; }

  // Adds an item, at the end or before/after an existing position or key. Raises 457 for a
  // key already present, 9 for a missing before/after, 5 when both are given, 6 when the
  // count would pass the 16-bit range. Returns the item's 1-based position.
  int16_t Add(Pointer item, std::string_view key = {},
              const std::optional<Index>& before = std::nullopt,
              const std::optional<Index>& after = std::nullopt) {
    if (before && after) throw Error(err::kInvalidProcedureCall);
    if (!key.empty() && Exists(key)) throw Error(err::kDuplicateKey);
    if (entries_.size() >= static_cast<size_t>(std::numeric_limits<int16_t>::max()))
      throw Error(err::kOverflow);
    size_t slot = entries_.size();
    if (before) slot = Slot(*before);
    if (after) slot = Slot(*after) + 1;
    entries_.insert(entries_.begin() + static_cast<std::ptrdiff_t>(slot),
                    Entry{std::move(item), std::string(key)});
    if (slot + 1 == entries_.size()) {
      if (!key.empty() && !dirty_) positions_.emplace(UpperCase(key), slot);
    } else {
      dirty_ = true;
    }
    return static_cast<int16_t>(slot + 1);
  }

  // Removes the item at a position or with a key; raises 9 when there is none.
  Pointer Remove(const Index& index) {
    size_t slot = Slot(index);
    Pointer item = std::move(entries_[slot].item);
    if (!dirty_ && !entries_[slot].key.empty()) positions_.erase(UpperCase(entries_[slot].key));
    entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(slot));
    if (slot != entries_.size()) dirty_ = true;
    return item;
  }

  // Gives the item at an index another key ("" for none); raises 457 for a key held by
  // another item, 9 for a missing index.
  void ReKey(const Index& index, std::string_view newKey) {
    size_t slot = Slot(index);
    if (!newKey.empty()) {
      auto holder = FindSlot(newKey);
      if (holder && *holder != slot) throw Error(err::kDuplicateKey);
    }
    if (!dirty_) {
      // Positions do not move: the index is kept up to date rather than rebuilt.
      if (!entries_[slot].key.empty()) positions_.erase(UpperCase(entries_[slot].key));
      if (!newKey.empty()) positions_.emplace(UpperCase(newKey), slot);
    }
    entries_[slot].key = std::string(newKey);
  }

  void Clear() {
    entries_.clear();
    positions_.clear();
    dirty_ = false;
  }

  auto begin() const { return entries_.begin(); }
  auto end() const { return entries_.end(); }
  const std::vector<Entry>& Entries() const { return entries_; }

 private:
  size_t Slot(const Index& index) const {
    if (index.IsPosition()) {
      int32_t position = index.Position();
      if (position < 1 || static_cast<size_t>(position) > entries_.size())
        throw Error(err::kSubscriptOutOfRange);
      return static_cast<size_t>(position - 1);
    }
    auto slot = FindSlot(index.Key());
    if (!slot) throw Error(err::kSubscriptOutOfRange);
    return *slot;
  }

  std::optional<size_t> FindSlot(std::string_view key) const {
    if (key.empty()) return std::nullopt;
    if (dirty_) Reindex();
    auto found = positions_.find(UpperCase(key));
    if (found == positions_.end()) return std::nullopt;
    return found->second;
  }

  // Positions shift on inserts and removals before the end; the index is rebuilt lazily.
  void Reindex() const {
    positions_.clear();
    for (size_t i = 0; i < entries_.size(); ++i)
      if (!entries_[i].key.empty()) positions_.emplace(UpperCase(entries_[i].key), i);
    dirty_ = false;
  }

  std::vector<Entry> entries_;
  mutable std::unordered_map<std::string, size_t> positions_;
  mutable bool dirty_ = false;
};

}  // namespace corvale

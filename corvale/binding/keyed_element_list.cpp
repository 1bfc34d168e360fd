#include "corvale/binding/keyed_element_list.h"

#include <algorithm>
#include <utility>

#include "corvale/binding/node_access.h"
#include "corvale/core/convert.h"
#include "corvale/core/index.h"

namespace corvale {

KeyedElementList::KeyedElementList(std::string_view childName, std::string_view keyPath)
    : childName_(childName), keyPath_(keyPath) {}

std::string KeyedElementList::KeyOf(const xml::Node& element) const {
  return GetNodeText(element, keyPath_, "");
}

void KeyedElementList::Select(const xml::Node& parent) {
  parent_ = parent;
  entries_.Clear();
  later_.clear();
  renumberFrom_ = 1;
  for (const xml::Node& child : parent_.selectNodes(childName_))
    Enter(std::make_shared<Entry>(Entry{child, {}}));
}

void KeyedElementList::Enter(const EntryPtr& entry) {
  entry->key = KeyOf(entry->element);
  if (!entry->key.empty() && entries_.Exists(entry->key)) {
    later_[UpperCase(entry->key)].push_back(entry);
    entries_.Add(entry);
  } else {
    entries_.Add(entry, entry->key);
  }
}

xml::Node KeyedElementList::At(int32_t position) const {
  if (position < 1 || position > Count()) return {};
  return entries_.Item(position)->element;
}

int16_t KeyedElementList::PositionOf(std::string_view key) {
  if (key.empty()) return 0;
  const Index index{std::string(key)};
  for (int attempt = 0; attempt < 2; ++attempt) {
    if (!entries_.Exists(key)) return 0;
    const int16_t position = entries_.PositionOf(index);
    const xml::Node& element = entries_.Item(position)->element;
    if (element.parentNode() == parent_ && EqualsNoCase(KeyOf(element), key)) return position;
    Select(parent_);  // the key was changed past the model: read the children again
  }
  return 0;
}

std::string KeyedElementList::FirstFreeKey(std::string_view prefix, int32_t first) const {
  return entries_.FirstFreeKey(prefix, first);
}

void KeyedElementList::Append(const xml::Node& element) {
  if (!parent_ || !element) return;
  const bool listed = element.parentNode() == parent_ && element.nodeName() == childName_;
  parent_.appendChild(element);
  if (listed) {
    Select(parent_);  // a listed child moved to the end
  } else if (element.nodeName() == childName_) {
    Enter(std::make_shared<Entry>(Entry{element, {}}));
    renumberFrom_ = std::min<int32_t>(renumberFrom_, Count());
  }
}

void KeyedElementList::Remove(int32_t position) {
  const EntryPtr entry = entries_.Item(position);
  const bool firstHolder = !entries_.KeyAt(position).empty();
  entries_.Remove(position);
  if (entry->element.parentNode() == parent_) parent_.removeChild(entry->element);
  renumberFrom_ = std::min(renumberFrom_, position);

  if (entry->key.empty()) return;
  auto later = later_.find(UpperCase(entry->key));
  if (later == later_.end()) return;
  std::vector<EntryPtr>& holders = later->second;
  if (firstHolder) {
    // The next holder of a repeated key takes over; finding its position walks the list, which
    // only files that repeat a key pay for.
    const EntryPtr next = holders.front();
    holders.erase(holders.begin());
    entries_.ReKey(entries_.PositionOfItem(next.get()), next->key);
  } else {
    std::erase(holders, entry);
  }
  if (holders.empty()) later_.erase(later);
}

void KeyedElementList::Clear() {
  for (const auto& entry : entries_) {
    if (entry.item->element.parentNode() == parent_) parent_.removeChild(entry.item->element);
  }
  entries_.Clear();
  later_.clear();
  renumberFrom_ = 1;
}

void KeyedElementList::KeyChanged(const xml::Node& element, std::string_view oldKey) {
  if (element.parentNode() != parent_ || element.nodeName() != childName_) return;
  const std::string newKey = KeyOf(element);
  const EntryPtr holder = oldKey.empty() ? nullptr : entries_.Find(oldKey);
  const bool plain = holder && holder->element == element && !later_.contains(UpperCase(oldKey)) &&
                     (newKey.empty() || EqualsNoCase(newKey, oldKey) || !entries_.Exists(newKey));
  if (!plain) {
    Select(parent_);  // a repeated key or a child without one: read the children again
    return;
  }
  entries_.ReKey(Index(std::string(oldKey)), newKey);
  holder->key = newKey;
}

void KeyedElementList::Renumber(std::string_view path) {
  const auto& entries = entries_.Entries();
  for (size_t i = static_cast<size_t>(std::max(renumberFrom_, 1)) - 1; i < entries.size(); ++i)
    SetNodeText(entries[i].item->element, path, IntegerText(static_cast<int64_t>(i) + 1));
  renumberFrom_ = Count() + 1;
}

}  // namespace corvale

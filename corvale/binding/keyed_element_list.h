// KeyedElementList: the children of one name under a parent element, in document order, found
// by position or by the text of a key child, as the file-backed sets of templates and systems
// list them. A key look-up answers as FindNodeIndex does: the first child whose key equals the
// text without regard to case. Users' files may repeat a key; the first holder answers and
// the next one takes over when it leaves.
//
// Files hold thousands of children, so one look-up, append or removal costs O(log n): the
// first holder of each key is hashed, later holders of a repeated key wait in a side list.
// Items handed out live report a key they change (KeyChanged); a key written past the model
// is noticed when a look-up lands on an element that no longer holds it, which re-reads the
// parent's children.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "corvale/core/keyed_collection.h"
#include "corvale/xml/xml.h"

namespace corvale {

class KeyedElementList {
 public:
  // The texts must outlive the list.
  KeyedElementList(std::string_view childName, std::string_view keyPath);

  // Takes the parent's children of the child name, in document order.
  void Select(const xml::Node& parent);
  const xml::Node& Parent() const { return parent_; }
  int16_t Count() const { return entries_.Count(); }
  // The child at a 1-based position; null outside 1..Count.
  xml::Node At(int32_t position) const;
  // The 1-based position of the first child holding the key; 0 when none does (and for "").
  int16_t PositionOf(std::string_view key);
  // The first prefix + n, for n = first, first + 1, ..., that no child holds.
  std::string FirstFreeKey(std::string_view prefix, int32_t first) const;

  // Appends the element to the parent (moving it from wherever it was); it is listed when it
  // has the child name, and otherwise only kept in the document.
  void Append(const xml::Node& element);
  // Takes the child at a 1-based position out of the parent and the list; raises 9 when there
  // is none.
  void Remove(int32_t position);
  // Takes every listed child out of the parent.
  void Clear();
  // A child listed under oldKey now holds another key (the text of its key child). Elements
  // that are not listed are ignored.
  void KeyChanged(const xml::Node& element, std::string_view oldKey);
  // Writes the 1-based position into the `path` child of every listed element, from the first
  // position that appending or removing may have moved (from the first after a Select), so a
  // list renumbered after each append rewrites one element.
  void Renumber(std::string_view path);

 private:
  struct Entry {
    xml::Node element;
    std::string key;  // the key it was listed under, "" for none
  };
  using EntryPtr = std::shared_ptr<Entry>;

  void Enter(const EntryPtr& entry);
  std::string KeyOf(const xml::Node& element) const;

  std::string_view childName_;
  std::string_view keyPath_;
  xml::Node parent_;
  // Every listed child in order; the first holder of each key is keyed by it, later holders
  // and children without a key are not.
  KeyedCollection<Entry> entries_;
  // Upper-cased key -> its later holders, in document order.
  std::unordered_map<std::string, std::vector<EntryPtr>> later_;
  int32_t renumberFrom_ = 1;
};

using KeyedElementListPtr = std::shared_ptr<KeyedElementList>;

// The part of an item that a KeyedElementList may list live: the item reports the keys it
// changes to the list that handed it out, if that list still lives.
class ListedItem {
 public:
  void ListedIn(std::weak_ptr<KeyedElementList> list) { list_ = std::move(list); }

 protected:
  void ReportKeyChange(const xml::Node& element, std::string_view oldKey) const {
    if (const KeyedElementListPtr list = list_.lock()) list->KeyChanged(element, oldKey);
  }

 private:
  std::weak_ptr<KeyedElementList> list_;
};

}  // namespace corvale

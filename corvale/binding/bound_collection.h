// Binding a keyed model collection to the child elements of its container element, and taking
// items out of both again.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "corvale/binding/node_access.h"
#include "corvale/core/index.h"
#include "corvale/core/keyed_collection.h"
#include "corvale/xml/xml.h"

namespace corvale {

// Wraps each `childName` child of the container, in document order, in a new item; an item
// without a key is given `nextKey()` (which its Key setter writes into the element), and the
// item is added under its key.
template <class T, class NextKey>
void BindChildren(KeyedCollection<T>& items, const xml::Node& container, std::string_view childName,
                  const NextKey& nextKey) {
  for (const xml::Node& child : container.selectNodes(childName)) {
    auto item = std::make_shared<T>();
    item->XMLNode(child);
    std::string key = item->Key();
    if (key.empty()) {
      key = nextKey();
      item->Key(key);
    }
    items.Add(std::move(item), key);
  }
}

// Takes an item's element out of the container while it is still there. An element that has
// gone elsewhere (a scheme takes an instrument's outputs and events into its own lists) is
// left where it now belongs.
inline void TakeOutOf(xml::Node container, const xml::Node& element) {
  if (element.parentNode() == container) container.removeChild(element);
}

// Removes the item at a position or with a key, and its element; a missing index raises 9
// before anything changes.
template <class T>
void RemoveBound(KeyedCollection<T>& items, const xml::Node& container, const Index& index) {
  TakeOutOf(container, items.Item(index)->XMLNode());
  items.Remove(index);
}

// Removes every item and its element.
template <class T>
void ClearBound(KeyedCollection<T>& items, const xml::Node& container) {
  for (const auto& entry : items) TakeOutOf(container, entry.item->XMLNode());
  items.Clear();
}

// The element names and key pattern of one bound collection.
struct BoundCollectionShape {
  std::string_view container;  // e.g. "OUTPUTS"
  std::string_view child;      // e.g. "OUTPUT"
  std::string_view keyPrefix;  // generated keys are keyPrefix + n
  int32_t firstNumber = 0;
  bool twoDigits = false;  // "EVENT01" rather than "EVENT1"
};

// The shell that every collection bound to a container element shares: the container made
// at construction, rebinding, generated keys, look-up and removal. Adding, ordering and
// parent handling differ between collections and stay with them.
template <class T>
class BoundCollection {
 public:
  virtual ~BoundCollection() = default;

  xml::Node XMLNode() const { return node_; }
  // Reads the child elements in document order, giving keyless ones a generated key; raises
  // 457 when two share a key. Only the collection is emptied: the items stay in the element
  // left behind.
  virtual void XMLNode(xml::Node value) {
    items_.Clear();
    node_ = std::move(value);
    BindChildren(items_, node_, shape_.child, [this] { return NextKey(); });
  }
  int16_t Count() const { return items_.Count(); }
  std::shared_ptr<T> Item(const Index& index) const { return items_.Item(index); }
  // Raises 9 for a missing position or key, before anything changes.
  virtual void Remove(const Index& index) { RemoveBound(items_, node_, index); }
  void Clear() { ClearBound(items_, node_); }

 protected:
  // Bound to a new, empty container element. The shape's texts must outlive the collection.
  explicit BoundCollection(const BoundCollectionShape& shape)
      : node_(CreateElement(shape.container)), shape_(shape) {}

  // Takes the item at `from` out of the collection and its element out of the container, then
  // puts the entry back under its key at position `to` (at the end when `to` is past the
  // last); returns the element for the caller to place, as each collection orders it.
  xml::Node Reenter(int16_t from, int16_t to) {
    std::shared_ptr<T> item = items_.Item(from);
    const std::string key = items_.KeyAt(from);
    items_.Remove(from);
    xml::Node element = item->XMLNode();
    TakeOutOf(node_, element);
    if (to <= items_.Count()) {
      items_.Add(item, key, Index(to));
    } else {
      items_.Add(item, key);
    }
    return element;
  }

  // The first free generated key.
  std::string NextKey() const {
    return items_.FirstFreeKey(shape_.keyPrefix, shape_.firstNumber, shape_.twoDigits);
  }

  xml::Node node_;
  KeyedCollection<T> items_;

 private:
  BoundCollectionShape shape_;
};

}  // namespace corvale

// Binding a keyed model collection to the child elements of its container element, and taking
// items out of both again.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "corvale/core/keyed_collection.h"
#include "corvale/core/xml.h"

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

}  // namespace corvale

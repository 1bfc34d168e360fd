// Binding a keyed model collection to the child elements of its container element.
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

}  // namespace corvale

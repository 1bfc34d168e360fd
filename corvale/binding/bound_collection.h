// The one shell of every model collection bound to a container element (CHANNELS, EVENTS,
// RESOURCES, USERS, ...): one item object per child element of one name, in document order,
// kept in a keyed collection. The rules in which collections differ are the shape's options
// and a few hooks; adding, ordering and owner keys stay with each collection. A watched
// collection records its own changes and hands the log on to its items (see Watch).
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "corvale/binding/bound_element.h"
#include "corvale/binding/node_access.h"
#include "corvale/core/change_log.h"
#include "corvale/core/convert.h"
#include "corvale/core/index.h"
#include "corvale/core/keyed_collection.h"
#include "corvale/xml/xml.h"

namespace corvale {

struct CollectionShape {
  std::string_view container;  // e.g. "OUTPUTS"
  std::string_view child;      // e.g. "OUTPUT"
  // Generated keys are keyPrefix + n, from firstNumber; "" when keys are never generated.
  std::string_view keyPrefix = {};
  int32_t firstNumber = 0;
  bool twoDigits = false;  // "EVENT01" rather than "EVENT1"
  // A child without a key gets a generated one (written into it) when the element is bound.
  bool keyOnBind = true;
  // Binding another element first takes the items out of the element left behind; otherwise
  // only the collection is emptied and the old element keeps its children.
  bool rebindEmptiesOld = false;
  // Binding the element the collection already holds does nothing.
  bool rebindSameIsNoop = false;
  // Entries are not keyed: a look-up by key walks the items and compares their keys without
  // regard to case (first match), and an unknown key gives null instead of error 9. Several
  // items may then share a key.
  bool unkeyedLookup = false;
  // The empty key is a key like any other: one item may hold it (a look-up of "" finds it) and
  // a second one raises 457. Otherwise an item with an empty key has no key.
  bool emptyKeyIsKey = false;
};

// T is an element-bound item with an element-taking constructor, `explicit T(xml::Node)`.
template <class T>
class BoundCollection : protected ElementBinding, public Watched {
 public:
  virtual ~BoundCollection() = default;

  // Records the collection's changes under token and hands the log to every item, now and as
  // they come: under the same token, or, when token is null (a change of the list concerns
  // everything in it), under the item's own address.
  void Watch(ChangeLogPtr log, const void* token) override {
    Watched::Watch(std::move(log), token);
    for (const auto& entry : items_) WatchItem(entry.item);
  }

  xml::Node XMLNode() const { return node_; }
  // Reads the child elements in document order (see the shape's binding options); raises
  // 457 when two share a key.
  virtual void XMLNode(xml::Node value) { Bind(std::move(value)); }
  int16_t Count() const { return items_.Count(); }
  // The item at a position or with a key; a missing one raises 9 (or gives null, see
  // unkeyedLookup).
  std::shared_ptr<T> Item(const Index& index) const {
    if (!shape_.unkeyedLookup || index.IsPosition()) return items_.Item(Stored(index));
    const int16_t position = ScanFor(index.Key());
    return position ? items_.Item(position) : nullptr;
  }
  // Removes the item and its element; raises 9 for a missing position or key, before anything
  // changes.
  virtual void Remove(const Index& index) {
    const int16_t position = PositionOf(index);
    TakeOutOf(items_.Item(position)->XMLNode());
    items_.Remove(position);
    Touch();
  }
  void Clear() {
    for (const auto& entry : items_) TakeOutOf(entry.item->XMLNode());
    items_.Clear();
    Touch();
  }

 protected:
  // Bound to a new, empty container element. The shape's texts must outlive the collection.
  explicit BoundCollection(const CollectionShape& shape)
      : ElementBinding(shape.container), shape_(shape) {}

  // The collection key of an item; "" for an item without one.
  virtual std::string EntryKey(const T& item) const {
    if constexpr (requires { item.Key(); }) {
      return item.Key();
    } else {
      return {};
    }
  }
  // Called for each item made while binding, before its key is read.
  virtual void OnBind(T& /*item*/) {}

  void Bind(xml::Node value) {
    if (shape_.rebindSameIsNoop && value == node_) return;
    if (shape_.rebindEmptiesOld) {
      Clear();
    } else {
      items_.Clear();
    }
    node_ = std::move(value);
    numbered_ = false;
    Touch();
    for (const xml::Node& child : node_.selectNodes(shape_.child)) {
      auto item = std::make_shared<T>(child);
      OnBind(*item);
      std::string key = shape_.keyOnBind ? KeyFor(*item) : EntryKey(*item);
      AddEntry(item, key);
    }
  }

  // The item's key; an item without one gets the first free generated key, written into it.
  std::string KeyFor(T& item) {
    std::string key = EntryKey(item);
    if (key.empty() && !shape_.keyPrefix.empty()) {
      key = NextKey();
      if constexpr (requires { item.Key(key); }) item.Key(key);
    }
    return key;
  }

  // The first free generated key.
  std::string NextKey() const {
    if (shape_.unkeyedLookup) {
      return FirstFreeKey(
          shape_.keyPrefix, [this](const std::string& key) { return ScanFor(key) != 0; },
          shape_.firstNumber, shape_.twoDigits);
    }
    return items_.FirstFreeKey(shape_.keyPrefix, shape_.firstNumber, shape_.twoDigits);
  }

  // Adds the entry (before/after as the keyed collection places it) and puts its element into
  // the container: before `reference` when that is a child of the container, else at the end.
  void Insert(const std::shared_ptr<T>& item, const std::string& key,
              const std::optional<Index>& before = std::nullopt,
              const std::optional<Index>& after = std::nullopt, const xml::Node& reference = {}) {
    AddEntry(item, key, before, after);
    xml::Node element = item->XMLNode();
    if (reference && reference.parentNode() == node_) {
      node_.insertBefore(element, reference);
    } else {
      node_.appendChild(element);
    }
  }

  // Adds the entry alone (before/after as the keyed collection places it); the element is the
  // caller's. Raises 457 for a key already present.
  void AddEntry(const std::shared_ptr<T>& item, const std::string& key,
                const std::optional<Index>& before = std::nullopt,
                const std::optional<Index>& after = std::nullopt) {
    items_.Add(item, shape_.unkeyedLookup ? std::string() : StoredKey(key), before, after);
    WatchItem(item);
    Touch();
  }

  // The 1-based position of an index; raises 9 when there is none.
  int16_t PositionOf(const Index& index) const {
    if (!shape_.unkeyedLookup || index.IsPosition()) return items_.PositionOf(Stored(index));
    const int16_t position = ScanFor(index.Key());
    if (!position) throw Error(err::kSubscriptOutOfRange);
    return position;
  }

  // Takes an item's element out of the container while it is still there. An element that has
  // gone elsewhere (a scheme takes an instrument's outputs and events into its own lists) is
  // left where it now belongs.
  void TakeOutOf(const xml::Node& element) {
    if (element.parentNode() == node_) node_.removeChild(element);
  }

  // Takes the item at `from` out of the collection and its element out of the container, then
  // puts the entry back under its key at position `to` (at the end when `to` is past the
  // last); returns the element for the caller to place, as each collection orders it.
  xml::Node Reenter(int16_t from, int16_t to) {
    std::shared_ptr<T> item = items_.Item(from);
    const std::string key = items_.KeyAt(from);
    items_.Remove(from);
    xml::Node element = item->XMLNode();
    TakeOutOf(element);
    if (to <= items_.Count()) {
      items_.Add(item, key, Index(to));
    } else {
      items_.Add(item, key);
    }
    Touch();
    return element;
  }

  // Writes INDEX = the 1-based document position of every `child` element from `first` (one
  // of them) to the end: only the positions that moved are touched. The first renumbering
  // after binding walks the whole list, so that a loaded document whose INDEX values are
  // missing or wrong comes out numbered throughout; an INDEX written by hand later is put
  // right by the next full pass (binding again, or a move).
  void RenumberFrom(xml::Node first, bool all = false) {
    if (all || !numbered_) first = node_.selectSingleNode(shape_.child);
    if (!first || first.parentNode() != node_) return;
    numbered_ = true;
    int32_t after = 0;
    for (xml::Node n = first; n; n = n.nextSibling())
      if (n.nodeType() == xml::NodeType::Element && n.nodeName() == shape_.child) ++after;
    int32_t position = DocumentCount() - after;
    for (xml::Node n = first; n; n = n.nextSibling()) {
      if (n.nodeType() == xml::NodeType::Element && n.nodeName() == shape_.child)
        SetNodeText(n, "INDEX", IntegerText(++position), true);
    }
  }

  KeyedCollection<T> items_;

 private:
  // The number of `child` elements in the container: the collection's count while every one
  // of them is an item, as binding and adding keep it.
  int32_t DocumentCount() const { return items_.Count(); }

  // The keyed collection knows no empty key: with emptyKeyIsKey it stands for itself as a text
  // that no element can hold.
  std::string StoredKey(const std::string& key) const {
    return shape_.emptyKeyIsKey && key.empty() ? std::string(kEmptyKey) : key;
  }
  Index Stored(const Index& index) const {
    return index.IsKey() && index.Key().empty() && shape_.emptyKeyIsKey ? Index(kEmptyKey) : index;
  }
  static constexpr std::string_view kEmptyKey = "\x01";

  void WatchItem(const std::shared_ptr<T>& item) {
    if constexpr (requires { item->Watch(log_, token_); }) {
      if (log_) item->Watch(log_, token_ ? token_ : item.get());
    }
  }

  // 1-based position of the first item whose key equals `key` without regard to case; 0.
  int16_t ScanFor(std::string_view key) const {
    int16_t position = 0;
    for (const auto& entry : items_) {
      ++position;
      if (EqualsNoCase(EntryKey(*entry.item), key)) return position;
    }
    return 0;
  }

  CollectionShape shape_;
  bool numbered_ = false;  // INDEX has been written through the whole list since binding
};

// A fresh collection bound to the element's child of the collection's container name, or,
// when the element has none, the collection's own empty container appended to the element. A
// fresh one rather than the old one: the old list's element may still belong to another item.
template <class C>
std::shared_ptr<C> BindChildList(xml::Node element, std::string_view containerName) {
  auto list = std::make_shared<C>();
  if (xml::Node child = element.selectSingleNode(containerName)) {
    list->XMLNode(child);
  } else {
    element.appendChild(list->XMLNode());
  }
  return list;
}

}  // namespace corvale

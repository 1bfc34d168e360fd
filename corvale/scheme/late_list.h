// A collection reached by member name only (Count, Item, Remove, Add), as the scheme's
// outputs, events, log buffers and log entries are: the scheme is the host's object, and any
// collection with those members serves. A null collection is empty.
#pragma once

#include <cstdint>
#include <utility>

#include "corvale/core/object.h"

namespace corvale {

class LateList {
 public:
  explicit LateList(ObjectPtr list) : list_(std::move(list)) {}
  int32_t Count() const { return list_ ? list_->Invoke("Count").ToInt32() : 0; }
  ObjectPtr Item(int32_t position) const { return list_->Invoke("Item", {position}).ToObject(); }
  void Remove(int32_t position) const { list_->Invoke("Remove", {position}); }
  void Add(ObjectPtr item) const { list_->Invoke("Add", {std::move(item)}); }
  explicit operator bool() const { return list_ != nullptr; }

 private:
  ObjectPtr list_;
};

}  // namespace corvale

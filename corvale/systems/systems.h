// clsSystems: a systems file (root SYSTEMS) and the systems it lists, its SYSTEM children.
#pragma once

#include <memory>
#include <string>

#include "corvale/core/index.h"
#include "corvale/core/object.h"
#include "corvale/systems/keyed_file.h"
#include "corvale/systems/system.h"

namespace corvale {

class clsSystems : public Object, public KeyedFile {
 public:
  // A new document holding the declaration and an empty SYSTEMS root.
  clsSystems();

  // Source, Count, XMLNode, Load, Save, Remove and Clear: see KeyedFile.

  // A copy of the system at a 1-based position, or of the first whose KEY equals a key without
  // regard to case, with Source = the file's Source + "|" + its Key; changing it leaves the
  // file as it is. Null when there is none.
  SystemPtr Item(const corvale::Index& index) const;
  // The system found as Item finds it, bound to the file's own element, for editing the file.
  SystemPtr LibraryItem(const corvale::Index& index) const;
  // A system without a key gets the first free "SYSTEM_" + n (n from 1); one whose key a
  // listed system holds raises kDuplicateSystemKey and is not added. Otherwise its element is
  // appended to the root and every system's INDEX becomes its 1-based position (only those
  // whose position may have moved since the last Add are rewritten).
  void Add(const SystemPtr& system);
  // Removes the system at a position or with a key; INDEX is put right by the next Add.
  void Remove(const corvale::Index& index) override;

  Variant Invoke(std::string_view member, const Args& args = {}) override {
    return InvokeFileMember(member, args);
  }

 private:
  ObjectPtr ItemObject(const corvale::Index& index) const override { return Item(index); }
  ObjectPtr LibraryItemObject(const corvale::Index& index) const override {
    return LibraryItem(index);
  }
  void AddObject(const Variant& item) override;

  int16_t moved_ = 0;  // the first position a removal has moved since the last renumbering
};

}  // namespace corvale

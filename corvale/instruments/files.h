// clsFiles: the files of an instrument (FILES element holding FILE elements), keyed by path.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "corvale/binding/bound_collection.h"
#include "corvale/core/index.h"
#include "corvale/core/keyed_collection.h"
#include "corvale/core/object.h"
#include "corvale/instruments/file.h"
#include "corvale/xml/xml.h"

namespace corvale {

class clsFiles : public Object, public BoundCollection<clsFile> {
 public:
  // Bound to a new, empty FILES element. Files are keyed by their path (File), compared
  // without regard to case; no key is ever generated. Binding raises 457 when two FILE elements
  // hold the same path.
  clsFiles();

  std::string Key() const;
  void Key(std::string value);
  // Raises 457 for a path already present.
  void Add(FilePtr file);

  Variant Invoke(std::string_view member, const Args& args = {}) override;

 private:
  std::string EntryKey(const clsFile& file) const override;
};

}  // namespace corvale

// clsFiles: the files of an instrument (FILES element holding FILE elements), keyed by path.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "corvale/binding/node_access.h"
#include "corvale/core/index.h"
#include "corvale/core/keyed_collection.h"
#include "corvale/core/object.h"
#include "corvale/instruments/file.h"
#include "corvale/xml/xml.h"

namespace corvale {

class clsFiles : public Object {
 public:
  clsFiles();  // bound to a new, empty FILES element

  int16_t Count() const;
  // A position or a path; raises 9 when there is none.
  FilePtr Item(const corvale::Index& index) const;
  std::string Key() const;
  void Key(std::string value);
  xml::Node XMLNode() const;
  // Raises 457 when two FILE elements hold the same path (compared without regard to case).
  void XMLNode(xml::Node value);
  // Raises 457 for a path already present.
  void Add(FilePtr file);
  void Remove(const corvale::Index& index);
  void Clear();

  Variant Invoke(std::string_view member, const Args& args = {}) override;

 private:
  FactoryUser factory_user_;
  xml::Node node_;
  KeyedCollection<clsFile> items_;
};

}  // namespace corvale

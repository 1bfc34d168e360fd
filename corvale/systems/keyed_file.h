// KeyedFile: the base of the template file and the systems file. It owns a document whose root
// element lists its children of one name by their KEY, with the file's Source in the root.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "corvale/binding/file_document.h"
#include "corvale/binding/keyed_element_list.h"
#include "corvale/core/index.h"
#include "corvale/core/object.h"
#include "corvale/xml/xml.h"

namespace corvale {

class KeyedFile : public FileDocument {
 public:
  struct Shape {
    std::string_view root;       // "TEMPLATES"
    std::string_view child;      // "TEMPLATE"
    std::string_view keyPrefix;  // "TEMPLATE_"
    std::string_view className;  // "clsCodeTemplates", for error sources
    int32_t duplicateKeyError;
    std::string_view itemWord;  // "template", for messages
  };

  // The root's SOURCE.
  std::string Source() const;
  void Source(std::string value);
  // The number of listed children.
  int16_t Count() const { return list_->Count(); }
  // The root element.
  xml::Node XMLNode() const { return root_; }
  // Makes the element the root and lists its children; the document and File stay.
  void XMLNode(xml::Node value);

  // Loads the file into a new document and lists the children of its root, creating and
  // appending the root when the document has none. False, with ParseError() telling why, when
  // the file does not parse: the set is then empty and File() is not remembered, so that a
  // Save without a file name cannot write an empty set over it. A document whose root element
  // has another name raises 5 and leaves the set as it was.
  bool Load(const std::string& fileName);
  // Writes the document to the file (the file last loaded or saved when empty) and remembers
  // it; raises 75 when there is no file to write to, and a failed save as corvale::Error.
  void Save(const std::string& fileName = {});
  // Removes the child at a position or with a key (the first holding it); raises 9 when there
  // is none.
  void Remove(const corvale::Index& index);
  void Clear();

 protected:
  // A new document holding the declaration and an empty root. The texts must outlive the set.
  explicit KeyedFile(const Shape& shape);
  ~KeyedFile() = default;

  // The listed child at a position (1..Count) or with a key; null when there is none.
  xml::Node Find(const corvale::Index& index) const;
  // The first generated key that no listed child holds: prefix + n, n from 1.
  std::string FreeKey() const;
  // Appends an element whose key is `key`; raises the shape's duplicate-key error, adding
  // nothing, when a listed child holds the key already.
  void Append(const xml::Node& element, std::string_view key);

  // The late-bound members that both files have: Source, Count, Remove, Clear, Load, Save.
  // Raises 438 for any other name.
  Variant InvokeFileMember(std::string_view member, const Args& args);

  Shape shape_;
  KeyedElementListPtr list_;
};

}  // namespace corvale

// KeyedFile: the base of the template file and the systems file. It owns a document whose root
// element lists its children of one name by their KEY, with the file's Source in the root.
// Users' files may repeat a key: a look-up by key finds the first child holding it, as the
// editors always have. Keys are read as children are listed (Load, XMLNode, Add): a key
// changed afterwards through a template or system held live is found by its new text after
// the next Load or XMLNode.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "corvale/binding/bound_collection.h"
#include "corvale/binding/file_document.h"
#include "corvale/binding/keyed_element.h"
#include "corvale/core/error.h"
#include "corvale/core/index.h"
#include "corvale/core/object.h"
#include "corvale/xml/xml.h"

namespace corvale {

class KeyedFile : public FileDocument, protected BoundCollection<KeyedElement> {
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
  using BoundCollection::Count;
  // The root element.
  xml::Node XMLNode() const { return node_; }
  // Lists the children of another root; the document and File stay.
  void XMLNode(xml::Node value) override { Bind(std::move(value)); }

  // Loads the file into a new document and lists the children of its root, creating and
  // appending the root when the document has none. False, with ParseError() telling why, when
  // the file does not parse: the set is then empty and File() is forgotten, so that a
  // Save without a file name cannot write an empty set over it. A document whose root element
  // has another name raises 5 and leaves the set as it was.
  bool Load(const std::string& fileName);
  // Writes the document to the file (the file last loaded or saved when empty) and remembers
  // it; raises 75 when there is no file to write to, and a failed save as corvale::Error.
  void Save(const std::string& fileName = {});
  // Remove: the child at a position or with a key (the first holding it); raises 9 when there
  // is none. Clear removes every listed child.
  using BoundCollection::Clear;
  using BoundCollection::Remove;

 protected:
  // A new document holding the declaration and an empty root. The texts must outlive the set.
  explicit KeyedFile(const Shape& shape);
  ~KeyedFile() override = default;

  // The listed child at a position (1..Count) or with a key; null when there is none.
  xml::Node Find(const corvale::Index& index) const;
  // The first generated key that no listed child holds: prefix + n, n from 1.
  std::string FreeKey() const { return NextKey(); }
  // Appends an element whose key is `key` to the root, listing it when it has the child name;
  // raises the shape's duplicate-key error, adding nothing, when a listed child holds the key.
  void Append(const xml::Node& element, const std::string& key);
  // Gives an item without a key the first free generated key, then appends its element as
  // Append does; returns the element.
  template <class T>
  xml::Node AddItem(const std::shared_ptr<T>& item) {
    if (!item) throw Error(err::kObjectNotSet);
    if (item->Key().empty()) item->Key(FreeKey());
    const xml::Node element = item->XMLNode();
    Append(element, item->Key());
    return element;
  }

  // What Item, LibraryItem and Add of each file hand out and take, for late binding.
  virtual ObjectPtr ItemObject(const corvale::Index& index) const = 0;
  virtual ObjectPtr LibraryItemObject(const corvale::Index& index) const = 0;
  virtual void AddObject(const Variant& item) = 0;

  // The late-bound members of both files: Source, Count, Item (also the default member),
  // LibraryItem, Add, Remove, Clear, Load, Save. Raises 438 for any other name.
  Variant InvokeFileMember(std::string_view member, const Args& args);

 private:
  Shape file_shape_;
};

}  // namespace corvale

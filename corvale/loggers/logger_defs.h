// clsLoggerDefs: a logger definition file in memory: an ordered set of LOGGER elements under a
// LOGGERS element, keyed by KEY (or CATCODE when KEY is empty). Item hands out definitions
// bound to copies of them, LibraryItem definitions bound to the elements themselves.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "corvale/binding/bound_collection.h"
#include "corvale/binding/bound_element.h"
#include "corvale/binding/file_document.h"
#include "corvale/core/index.h"
#include "corvale/core/object.h"
#include "corvale/loggers/logger_def.h"
#include "corvale/xml/xml.h"

namespace corvale {

// One LOGGER element of the set; the set keeps elements, not definitions.
class LoggerElement : public BoundElement {
 public:
  explicit LoggerElement(xml::Node element) : BoundElement(std::move(element)) {}
  std::string Key() const;
};

class clsLoggerDefs : public Object, public FileDocument, protected BoundCollection<LoggerElement> {
 public:
  // A new document holding only the declaration, and a LOGGERS element that is not attached
  // to it: a set that was never loaded saves as the declaration alone.
  clsLoggerDefs();

  using BoundCollection::Count;
  // A definition bound to a copy of the LOGGER element at a position or key, whose Source is
  // the set's Source, "|" and its key (written into the copy). Raises 9 when there is none.
  LoggerDefPtr Item(const corvale::Index& index) const;
  // As Item, but bound to the stored element itself: its edits, the Source too, reach the file.
  LoggerDefPtr LibraryItem(const corvale::Index& index) const;
  // The SOURCE of the current LOGGERS element.
  std::string Source() const;
  void Source(std::string value);
  using BoundCollection::XMLNode;
  // Takes the LOGGER children of another LOGGERS element, after removing the ones held from
  // the element left behind. A LOGGER without KEY gets its CATCODE written as KEY. Two with
  // the same key (the empty one too) raise 457, with those before the second one kept.
  void XMLNode(xml::Node value) override;
  // Moves the definition's element into the LOGGERS element, gives a definition without a key
  // its CatCode as key and adds it before or after a position or key. A key already present
  // raises 457 with the element already moved in.
  void Add(const LoggerDefPtr& definition,
           const std::optional<corvale::Index>& before = std::nullopt,
           const std::optional<corvale::Index>& after = std::nullopt);
  using BoundCollection::Clear;
  using BoundCollection::Remove;
  // False, with nothing changed, for a file that does not parse. A file whose root is not
  // LOGGERS loads as an empty set. Raises 457 for a repeated key (see XMLNode).
  bool Load(const std::string& fileName);
  // To fileName, or, when it is empty, to the file of the last successful Load.
  void Save(const std::string& fileName = {});

  Variant Invoke(std::string_view member, const Args& args = {}) override;

 private:
  void OnBind(LoggerElement& logger) override;
};

using LoggerDefsPtr = std::shared_ptr<clsLoggerDefs>;

}  // namespace corvale

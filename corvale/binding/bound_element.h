// BoundElement: the base of model items that live in one element of a document. It owns the
// element handle, makes a detached element for a new item, and lets a loader rebind the item
// to an element of a loaded document.
#pragma once

#include <string_view>

#include "corvale/binding/node_access.h"
#include "corvale/core/object.h"
#include "corvale/xml/xml.h"

namespace corvale {

class BoundElement : public Object {
 public:
  xml::Node XMLNode() const;
  // Binds the item to another element; items with child lists override this to rebind them.
  virtual void XMLNode(xml::Node value);

 protected:
  // Bound to a new, detached element with the tag name, made by the element factory.
  explicit BoundElement(std::string_view tagName);

  // Declared before the element: the factory document must exist before the element is made.
  FactoryUser factory_user_;
  xml::Node node_;
};

}  // namespace corvale

// The element handle of model objects. Every object that made or holds elements of the
// process-wide element factory counts itself as a user of the factory document while it lives
// (ElementBinding); BoundElement is the base of the model items that live in one element.
#pragma once

#include <string_view>

#include "corvale/binding/node_access.h"
#include "corvale/core/change_log.h"
#include "corvale/core/object.h"
#include "corvale/xml/xml.h"

namespace corvale {

class ElementBinding {
 public:
  xml::Node XMLNode() const { return node_; }

 protected:
  // A new, detached element with the tag name, made by the element factory.
  explicit ElementBinding(std::string_view tagName);
  // An element of a loaded or built document; nothing is made.
  explicit ElementBinding(xml::Node element);

  // Declared before the element: the factory document must exist before the element is made.
  FactoryUser factory_user_;
  xml::Node node_;
};

class BoundElement : public Object, protected ElementBinding, public Watched {
 public:
  using ElementBinding::XMLNode;
  // Binds the item to another element; items with child lists override this to rebind them.
  // A watched item records the change.
  virtual void XMLNode(xml::Node value);

 protected:
  using ElementBinding::ElementBinding;
};

}  // namespace corvale

// KeyedElement: a list entry that is only an element known by the text of its KEY child, as
// the files that list whole definitions keep them (logger definitions, code templates,
// systems); the set hands out model objects bound to the element or to a copy of it.
#pragma once

#include <string>
#include <utility>

#include "corvale/binding/bound_element.h"
#include "corvale/binding/node_access.h"
#include "corvale/xml/xml.h"

namespace corvale {

class KeyedElement : public BoundElement {
 public:
  explicit KeyedElement(xml::Node element) : BoundElement(std::move(element)) {}
  std::string Key() const { return GetNodeText(node_, "KEY", ""); }
};

}  // namespace corvale

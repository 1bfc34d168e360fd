#include "corvale/binding/bound_element.h"

#include <utility>

namespace corvale {

ElementBinding::ElementBinding(std::string_view tagName) : node_(CreateElement(tagName)) {}

ElementBinding::ElementBinding(xml::Node element) : node_(std::move(element)) {}

void BoundElement::XMLNode(xml::Node value) {
  node_ = std::move(value);
  Touch();
}

}  // namespace corvale

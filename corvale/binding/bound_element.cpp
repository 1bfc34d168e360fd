#include "corvale/binding/bound_element.h"

#include <utility>

namespace corvale {

BoundElement::BoundElement(std::string_view tagName) : node_(CreateElement(tagName)) {}

xml::Node BoundElement::XMLNode() const { return node_; }

void BoundElement::XMLNode(xml::Node value) { node_ = std::move(value); }

}  // namespace corvale

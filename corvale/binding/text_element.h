// TextElement: a list item that is nothing but an element holding one text, such as a USER of
// a resource or a buddy reference (an INSTRUMENT of BUDDIES).
#pragma once

#include <string>
#include <string_view>

#include "corvale/binding/bound_element.h"
#include "corvale/xml/xml.h"

namespace corvale {

class TextElement : public BoundElement {
 public:
  // A new, detached element with the tag name holding the text.
  TextElement(std::string_view tagName, std::string_view text) : BoundElement(tagName) {
    node_.text(text);
  }
  explicit TextElement(xml::Node element) : BoundElement(std::move(element)) {}

  std::string Text() const { return node_.text(); }
};

}  // namespace corvale

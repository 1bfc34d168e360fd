// Builds a document's tree from bytes with expat. Internal to the XML tree.
#pragma once

#include <string>
#include <string_view>

#include "corvale/core/xml_node.h"

namespace corvale::xml {

// Replaces the children of doc with the parsed document. On failure doc is unchanged and
// error tells why. url is recorded in the error.
bool ParseDocument(NodeImpl* doc, std::string_view bytes, const std::string& url,
                   ParseError& error);

}  // namespace corvale::xml

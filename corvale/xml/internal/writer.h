// Writes a node and its descendants as markup. Internal to the XML tree.
#pragma once

#include <string>

#include "corvale/xml/internal/encoding.h"
#include "corvale/xml/internal/node.h"

namespace corvale::xml {

// pretty: the saved form. Top-level nodes and the children of an element that holds
// elements and no text go one per line, two blanks a level, lines ending in CRLF (also the
// line feeds inside text), so that files shared with Windows users read right there.
// Otherwise the markup is written as it stands, line feeds as they are.
// Characters the encoding cannot hold become character references.
void WriteMarkup(std::string& out, NodeImpl* node, const OutputEncoding& encoding, bool pretty);

}  // namespace corvale::xml

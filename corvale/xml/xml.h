// The library's own XML tree: reference-counted nodes behind cheap, nullable handles,
// parsed by expat. Names follow the W3C DOM so that code reads like the DOM it stands for.
//
// - A process uses the tree from one thread at a time: nodes, names and memory pools are
//   shared by all documents without locks.
// - Reads may change the tree: getters of the node access helpers write the defaults they
//   return, and asking an element for its child nodes turns its inline text into a text node.
//   A "read-only" walk is therefore still a use that must not overlap another.
// - Nodes and short texts come from pools that go back to the system when the last node of
//   the last document is freed.
// - Handles are copyable; equality is identity. Every operation on a null handle is a
//   no-op returning a null or empty result.
// - A handle keeps its node (and the node's owner document) alive, also after the node was
//   removed from its parent or the document handle was released.
// - appendChild/insertBefore move a node, also from another document, keeping its identity
//   and every handle to it and its descendants.
// - No operation recurses on tree depth.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace corvale::xml {

enum class NodeType : uint8_t {
  Element = 1,
  Text = 3,
  CData = 4,
  ProcessingInstruction = 7,
  Comment = 8,
  Document = 9,
};

class Document;
struct NodeImpl;  // private to the implementation

class Node {
 public:
  Node() noexcept = default;
  Node(const Node& other) noexcept;
  Node(Node&& other) noexcept;
  Node& operator=(const Node& other) noexcept;
  Node& operator=(Node&& other) noexcept;
  ~Node();

  explicit operator bool() const noexcept { return impl_ != nullptr; }
  bool isNull() const noexcept { return impl_ == nullptr; }
  friend bool operator==(const Node& a, const Node& b) noexcept { return a.impl_ == b.impl_; }

  NodeType nodeType() const;  // Document for a null handle is never returned: check isNull()
  // Element: tag name; processing instruction: target; otherwise "#text", "#cdata-section",
  // "#comment", "#document".
  std::string nodeName() const;
  // Text, CDATA, comment: the text; processing instruction: its data; otherwise "".
  std::string nodeValue() const;
  void nodeValue(std::string_view value);

  // Concatenated text of all descendant text and CDATA nodes, in document order.
  std::string text() const;
  // Element or document: replaces all children by one text node (none when empty).
  // Text, CDATA, comment, processing instruction: sets the value.
  void text(std::string_view value);

  Node parentNode() const;
  Document ownerDocument() const;  // for a document: null
  Node firstChild() const;
  Node lastChild() const;
  Node nextSibling() const;
  Node previousSibling() const;
  bool hasChildNodes() const;
  std::vector<Node> childNodes() const;

  // Tree changes raise corvale::Error (5) for an impossible change: a node under itself,
  // a document as child, a reference node that is not a child, a second document element.
  Node appendChild(const Node& child);
  Node insertBefore(const Node& child, const Node& reference);  // null reference: append
  Node removeChild(const Node& child);
  Node replaceChild(const Node& newChild, const Node& oldChild);
  // A copy in the same owner document, detached; deep copies all descendants.
  Node cloneNode(bool deep) const;

  // First child element / all child elements with exactly this name.
  Node selectSingleNode(std::string_view name) const;
  std::vector<Node> selectNodes(std::string_view name) const;

  // Attributes of an element, in document order.
  bool hasAttribute(std::string_view name) const;
  std::string getAttribute(std::string_view name) const;  // "" when missing
  void setAttribute(std::string_view name, std::string_view value);
  void removeAttribute(std::string_view name);
  std::vector<std::pair<std::string, std::string>> attributes() const;

  // The markup of this node and its descendants (UTF-8, no declaration added, no indenting).
  std::string xml() const;

 protected:
  explicit Node(NodeImpl* impl) noexcept;  // takes a new reference
  NodeImpl* impl_ = nullptr;
  friend struct NodeAccess;
};

// Where and why a load failed: expat's code and reason, 1-based line and column.
struct ParseError {
  int32_t errorCode = 0;  // 0: no error
  std::string reason;
  int32_t line = 0;
  int32_t linepos = 0;
  std::string srcText;  // the text of the offending line
  std::string url;      // the file loaded, when it was a file
};

class Document : public Node {
 public:
  Document() noexcept = default;  // a null handle
  static Document create();       // a new, empty document

  Node documentElement() const;  // the first element child
  Node createElement(std::string_view tagName) const;
  Node createTextNode(std::string_view text) const;
  Node createCDATASection(std::string_view text) const;
  Node createComment(std::string_view text) const;
  Node createProcessingInstruction(std::string_view target, std::string_view data) const;

  // Synchronous loads. On failure the document is unchanged, parseError() tells why.
  bool load(const std::string& path);
  bool loadXML(std::string_view text);
  const ParseError& parseError() const;

  // The encoding named by the "xml" declaration, "UTF-8" when there is none.
  std::string encoding() const;
  // The bytes a save writes: the declared encoding, indented one element per line (two
  // blanks a level; elements holding text are written inline), lines ending in CRLF, also
  // inside text. Characters the encoding cannot hold become character references.
  std::string saveToString() const;
  // Atomic save (corvale::ReplaceFile); raises corvale::Error.
  void save(const std::string& path) const;

 private:
  explicit Document(NodeImpl* impl) noexcept : Node(impl) {}
  friend struct NodeAccess;
};

// A count for the elements of one name that moves whenever, through the operations above, such
// an element is linked into or unlinked from a parent (a move between documents included), or
// the text of one may have changed: its own text, or text anywhere below it. While it stands
// still, every element of that name keeps its parent, its place among its same-named siblings
// and its text(). Loads do not move it for the elements they create (no earlier element
// changes, except that the old content leaves the document); attribute changes never do. Cheap
// enough to ask before every look-up in an index kept by element text.
uint64_t ChangeCount(std::string_view elementName);

// Deepest element nesting a load accepts.
inline constexpr int kMaxDepth = 10000;

}  // namespace corvale::xml

#include "corvale/binding/node_access.h"

#include <limits>

#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/core/host.h"

namespace corvale {

namespace {

constexpr std::string_view kChanged = "CHANGED";
constexpr std::string_view kSetup = "SETUP";
constexpr std::string_view kDeclarationData = "version = \"1.0\" encoding=\"windows-1252\"";

// Tree changes go through a copy of the handle: the helpers take the element as const.
void Append(const xml::Node& element, const xml::Node& child) {
  xml::Node parent = element;
  parent.appendChild(child);
}

// A new element for a child of `element`, made by the element's own document; a node
// without one (a document node) gets it from the factory.
xml::Node NewChildElement(const xml::Node& element, std::string_view tagName) {
  xml::Document owner = element.ownerDocument();
  return owner.isNull() ? CreateElement(tagName) : owner.createElement(tagName);
}

// Sets the text of the child at path, creating and appending the child when it is missing.
void WriteChild(const xml::Node& element, std::string_view path, std::string_view value) {
  xml::Node child = element.selectSingleNode(path);
  if (child.isNull()) {
    child = NewChildElement(element, path);
    child.text(value);
    Append(element, child);
  } else {
    child.text(value);
  }
}

// The typed setters: a present child always takes the value; a missing one is created only
// when forced or when the value is not the default. The mark is set either way.
void SetTyped(const xml::Node& element, std::string_view path, std::string_view value,
              bool differsFromDefault, bool force) {
  if (element.isNull()) return;
  xml::Node child = element.selectSingleNode(path);
  if (!child.isNull()) {
    child.text(value);
  } else if (force || differsFromDefault) {
    child = NewChildElement(element, path);
    child.text(value);
    Append(element, child);
  }
  MarkChanged(element);
}

struct Factory {
  xml::Document document;
  int32_t users = 0;
};

Factory& TheFactory() {
  static Factory* factory = new Factory;  // never destroyed: users may be static objects
  return *factory;
}

}  // namespace

std::string GetNodeText(const xml::Node& element, std::string_view path,
                        std::string_view defaultText) {
  if (element.isNull()) return std::string(defaultText);
  try {
    xml::Node child = element.selectSingleNode(path);
    if (!child.isNull()) return child.text();
  } catch (...) {
    // Quiet by design: a failing read is a missing value.
  }
  SetNodeText(element, path, defaultText, false);
  return std::string(defaultText);
}

void SetNodeText(const xml::Node& element, std::string_view path, std::string_view value,
                 bool force) {
  if (element.isNull()) return;
  try {
    if (force) {
      WriteChild(element, path, value);
      MarkChanged(element);
    } else if (value.empty() || value == "0") {
      // Stored by absence. The removal deliberately sets no change mark: documents that
      // were only read (defaults of "" and "0") must not come out as changed.
      xml::Node child = element.selectSingleNode(path);
      xml::Node parent = element;
      if (!child.isNull()) parent.removeChild(child);
    } else if (GetNodeText(element, path, "") != value) {
      WriteChild(element, path, value);
      MarkChanged(element);
    }
  } catch (...) {
    // Quiet by design: callers of the general writer never see a failure of the tree.
  }
}

void MarkChanged(const xml::Node& element) {
  try {
    if (element.isNull()) return;
    xml::Document document = element.ownerDocument();
    if (document.isNull()) return;
    xml::Node top = document.firstChild();
    while (!top.isNull() && top.nodeType() != xml::NodeType::Element) top = top.nextSibling();
    if (top.isNull()) return;
    xml::Node changed = top.selectSingleNode(kChanged);
    if (changed.isNull()) {
      changed = document.createElement(kChanged);
      top.appendChild(changed);
    }
    changed.text("-1");
  } catch (...) {
    // Quiet by design, as the other trapping helpers.
  }
}

std::string GetNodeString(const xml::Node& element, std::string_view path,
                          std::string_view defaultText, bool force) {
  if (element.isNull()) return std::string(defaultText);
  xml::Node child = element.selectSingleNode(path);
  if (!child.isNull()) return child.text();
  SetNodeText(element, path, defaultText, force);
  return std::string(defaultText);
}

void SetNodeString(const xml::Node& element, std::string_view path, std::string_view value,
                   std::string_view defaultText, bool force) {
  SetTyped(element, path, value, value != defaultText, force);
}

int16_t GetNodeInteger(const xml::Node& element, std::string_view path, int16_t defaultValue,
                       bool force) {
  if (element.isNull()) return defaultValue;
  xml::Node child = element.selectSingleNode(path);
  if (!child.isNull()) return TextToInt16(child.text());
  SetNodeText(element, path, IntegerText(defaultValue), force);
  return defaultValue;
}

void SetNodeInteger(const xml::Node& element, std::string_view path, int16_t value,
                    int16_t defaultValue, bool force) {
  SetTyped(element, path, IntegerText(value), value != defaultValue, force);
}

int32_t GetNodeLong(const xml::Node& element, std::string_view path, int32_t defaultValue,
                    bool force) {
  if (element.isNull()) return defaultValue;
  xml::Node child = element.selectSingleNode(path);
  if (!child.isNull()) return TextToInt32(child.text());
  SetNodeText(element, path, IntegerText(defaultValue), force);
  return defaultValue;
}

void SetNodeLong(const xml::Node& element, std::string_view path, int32_t value,
                 int32_t defaultValue, bool force) {
  SetTyped(element, path, IntegerText(value), value != defaultValue, force);
}

bool GetNodeBoolean(const xml::Node& element, std::string_view path, bool defaultValue,
                    bool force) {
  if (element.isNull()) return defaultValue;
  xml::Node child = element.selectSingleNode(path);
  if (!child.isNull()) return TextToBool(child.text());
  // The default is materialised as "True"/"False", not "-1"/"0": a false default is thus
  // written too (it is not "0"), and existing documents carry these words.
  SetNodeText(element, path, defaultValue ? "True" : "False", force);
  return defaultValue;
}

void SetNodeBoolean(const xml::Node& element, std::string_view path, bool value, bool defaultValue,
                    bool force) {
  SetTyped(element, path, BoolText(value), value != defaultValue, force);
}

bool GetTextBoolean(const xml::Node& element, std::string_view path, std::string_view defaultText) {
  return TextToBool(GetNodeText(element, path, defaultText));
}

void SetTextBoolean(const xml::Node& element, std::string_view path, bool value) {
  SetNodeText(element, path, BoolText(value));
}

int16_t GetTextInteger(const xml::Node& element, std::string_view path,
                       std::string_view defaultText) {
  return TextToInt16(GetNodeText(element, path, defaultText));
}

int32_t GetTextLong(const xml::Node& element, std::string_view path, std::string_view defaultText) {
  return TextToInt32(GetNodeText(element, path, defaultText));
}

void SetTextLong(const xml::Node& element, std::string_view path, int32_t value) {
  SetNodeText(element, path, IntegerText(value));
}

xml::Node CreateElement(std::string_view tagName) {
  return FactoryDocument().createElement(tagName);
}

xml::Document FactoryDocument() {
  Factory& factory = TheFactory();
  if (factory.document.isNull()) factory.document = NewDocument();
  return factory.document;
}

FactoryUser::FactoryUser() {
  Factory& factory = TheFactory();
  if (++factory.users == 1 && factory.document.isNull()) factory.document = NewDocument();
}

FactoryUser::FactoryUser(const FactoryUser&) : FactoryUser() {}

FactoryUser::~FactoryUser() {
  Factory& factory = TheFactory();
  if (factory.users <= 0) return;
  // Elements made in the document keep it alive through their own handles.
  if (--factory.users == 0) factory.document = xml::Document();
}

int32_t FactoryUser::Count() { return TheFactory().users; }

xml::Document NewDocument() {
  xml::Document document = xml::Document::create();
  document.appendChild(document.createProcessingInstruction("xml", kDeclarationData));
  return document;
}

xml::Node ParseNode(std::string_view xmlText) {
  xml::Document document = xml::Document::create();
  if (!document.loadXML(xmlText)) return {};
  // The first child node, as callers have always had it: for text that starts with a
  // declaration that is the declaration, not the element.
  return document.firstChild();
}

int16_t FindNodeIndex(const std::vector<xml::Node>& nodes, std::string_view path,
                      std::string_view value) {
  for (size_t i = 0; i < nodes.size(); ++i) {
    if (i > static_cast<size_t>(std::numeric_limits<int16_t>::max())) throw Error(err::kOverflow);
    if (EqualsNoCase(GetNodeText(nodes[i], path, ""), value)) return static_cast<int16_t>(i);
  }
  return -1;
}

xml::Node GetSetupNode(const xml::Node& element) {
  if (element.isNull()) return {};
  xml::Node setup = element.selectSingleNode(kSetup);
  if (setup.isNull()) {
    setup = NewChildElement(element, kSetup);
    Append(element, setup);
  }
  return setup;
}

std::string StripNull(std::string_view text) {
  return std::string(text.substr(0, text.find('\0')));
}

void AddBackslash(std::string& path) {
  std::string_view trimmed = TrimRightBlanks(path);
  if (!trimmed.empty() && trimmed.back() == '\\') return;
  path = std::string(trimmed) + "\\";
}

std::string WindowsFolder() { return Host().WindowsFolderName() + "\\"; }

std::string EscapeText(std::string_view text) {
  std::string_view trimmed = TrimBlanks(text);
  std::string out;
  out.reserve(trimmed.size() + trimmed.size() / 8);
  // One pass doing, in effect, the replacements in their order: "\" -> "\\", CR LF -> CR,
  // CR -> "\n", tab -> "\t". A lone LF stays as it is, as existing documents have it.
  for (size_t i = 0; i < trimmed.size(); ++i) {
    char c = trimmed[i];
    if (c == '\\') {
      out += "\\\\";
    } else if (c == '\r') {
      out += "\\n";
      if (i + 1 < trimmed.size() && trimmed[i + 1] == '\n') ++i;
    } else if (c == '\t') {
      out += "\\t";
    } else {
      out += c;
    }
  }
  return out;
}

std::string UnescapeText(std::string_view text) {
  std::string_view trimmed = TrimBlanks(text);
  std::vector<std::string_view> pieces;
  size_t start = 0;
  for (size_t at; (at = trimmed.find('\\', start)) != std::string_view::npos; start = at + 1)
    pieces.push_back(trimmed.substr(start, at - start));
  pieces.push_back(trimmed.substr(start));

  std::string out(pieces[0]);
  for (size_t i = 1; i < pieces.size(); ++i) {
    std::string_view piece = pieces[i];
    if (piece.empty()) {
      // "\\": one backslash, and the next piece taken literally ("\\n" is "\" + "n").
      out += '\\';
      if (i + 1 < pieces.size()) out += pieces[++i];
    } else if (piece.front() == 'n') {
      out += "\r\n";
      out += piece.substr(1);
    } else if (piece.front() == 't') {
      out += '\t';
      out += piece.substr(1);
    } else {
      out += '\\';  // an unknown escape keeps its backslash
      out += piece;
    }
  }
  return out;
}

}  // namespace corvale

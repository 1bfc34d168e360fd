// The helpers through which every model property reads and writes its element. A property
// is a child element named by its path; numbers are decimal text, booleans "-1"/"0";
// "" and "0" are stored by removing the element unless forced; every write marks the
// document changed (its document element's CHANGED child becomes "-1").
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "corvale/xml/xml.h"

namespace corvale {

// Trapping helpers: failures of the tree inside them end them quietly.
std::string GetNodeText(const xml::Node& element, std::string_view path,
                        std::string_view defaultText);
void SetNodeText(const xml::Node& element, std::string_view path, std::string_view value,
                 bool force = false);
void MarkChanged(const xml::Node& element);

// Typed helpers: failures (such as a 16-bit read of "70000") rise to the caller.
std::string GetNodeString(const xml::Node& element, std::string_view path,
                          std::string_view defaultText, bool force = false);
void SetNodeString(const xml::Node& element, std::string_view path, std::string_view value,
                   std::string_view defaultText, bool force = false);
int16_t GetNodeInteger(const xml::Node& element, std::string_view path, int16_t defaultValue,
                       bool force = false);
void SetNodeInteger(const xml::Node& element, std::string_view path, int16_t value,
                    int16_t defaultValue, bool force = false);
int32_t GetNodeLong(const xml::Node& element, std::string_view path, int32_t defaultValue,
                    bool force = false);
void SetNodeLong(const xml::Node& element, std::string_view path, int32_t value,
                 int32_t defaultValue, bool force = false);
bool GetNodeBoolean(const xml::Node& element, std::string_view path, bool defaultValue,
                    bool force = false);
void SetNodeBoolean(const xml::Node& element, std::string_view path, bool value, bool defaultValue,
                    bool force = false);

// Text-encoded properties: read through GetNodeText (a missing element takes the default
// text), written through SetNodeText, so false and 0 are stored by removing the element.
bool GetTextBoolean(const xml::Node& element, std::string_view path, std::string_view defaultText);
// Writes "-1" for true and removes the element for false.
void SetTextBoolean(const xml::Node& element, std::string_view path, bool value);
// The text as a 16-bit number by the rules of convert.h (an out-of-range value raises 6).
int16_t GetTextInteger(const xml::Node& element, std::string_view path,
                       std::string_view defaultText);
// The text as a 32-bit number by the rules of convert.h.
int32_t GetTextLong(const xml::Node& element, std::string_view path, std::string_view defaultText);
// Writes the number as decimal text; 0 removes the element.
void SetTextLong(const xml::Node& element, std::string_view path, int32_t value);

// The process-wide element factory. Long-lived owners of element trees count themselves as
// its users (FactoryUser); the factory document lives while the count is above 0, and is
// made on demand by CreateElement otherwise.
xml::Node CreateElement(std::string_view tagName);
xml::Document FactoryDocument();
class FactoryUser {
 public:
  FactoryUser();
  ~FactoryUser();
  FactoryUser(const FactoryUser&);
  FactoryUser& operator=(const FactoryUser&) = default;
  static int32_t Count();
};

// A new document holding the declaration: version = "1.0" encoding="windows-1252".
xml::Document NewDocument();
// Parses the text into a new document; its first child node, or null on a parse error.
xml::Node ParseNode(std::string_view xmlText);
// 0-based position of the first node whose GetNodeText(node, path, "") equals value
// without regard to case; -1 when none does.
int16_t FindNodeIndex(const std::vector<xml::Node>& nodes, std::string_view path,
                      std::string_view value);
// The child SETUP, created and appended when missing.
xml::Node GetSetupNode(const xml::Node& element);

std::string StripNull(std::string_view text);
void AddBackslash(std::string& path);
std::string WindowsFolder();  // the host's Windows folder followed by "\"

// One-line form of multi-line program text, and back.
std::string EscapeText(std::string_view text);
std::string UnescapeText(std::string_view text);

}  // namespace corvale

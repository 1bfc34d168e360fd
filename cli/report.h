// What a listing or report command found, printed once at the end either as text or as one
// JSON document, so that both carry the same content. Nothing is printed before an item is
// complete, so a failure never leaves half a line behind.
#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <string_view>

#include "corvale/core/error.h"
#include "corvale/xml/xml.h"

namespace corvale::cli {

using nlohmann::ordered_json;

// A text view of a command's content.
using TextView = std::function<void(std::ostream& out, const ordered_json& content)>;

class Report {
 public:
  explicit Report(bool json) : json_(json) {}

  // A problem found on the way: printed on standard error at once, listed under "errors" in
  // the JSON document, and the command ends with status 1. `fields` (file, instrument,
  // element, error number...) go into the JSON entry beside "message".
  void Problem(const std::string& message, ordered_json fields = ordered_json::object());
  // The same for a model error: "<where>: error <number>: <description>".
  void Problem(const std::string& where, const Error& error,
               ordered_json fields = ordered_json::object());

  bool Failed() const { return !errors_.empty(); }
  bool Json() const { return json_; }

  // Prints the content (an object) through the text view, or as JSON with the "errors" list
  // added; a null content prints no text. Returns the exit status.
  int Finish(ordered_json content, const TextView& text);

 private:
  bool json_;
  ordered_json errors_ = ordered_json::array();
};

// Where a document breaks: "FILE:LINE:COLUMN: reason" ("FILE: reason" when there is no line).
void ReportParseError(Report& report, const std::string& path, const xml::ParseError& error);

// A file name as it may be printed: control characters and backslashes escaped ("\n", "\t",
// "\x1b", "\\"), so that a name cannot forge lines or terminal output.
std::string Printable(std::string_view name);

// The text of a JSON value for a text view: strings as they are, floating-point numbers as the
// documents write them, yes/no for booleans, nothing for null.
std::string Text(const ordered_json& value);
// "name (code)", or the code alone when it has no name.
std::string Coded(const ordered_json& name, const ordered_json& code);

}  // namespace corvale::cli

#include "cli/report.h"

#include <cstdio>
#include <exception>
#include <iostream>
#include <utility>

#include "corvale/core/convert.h"
#include "corvale/core/log.h"

namespace corvale::cli {

void Report::Problem(const std::string& message, ordered_json fields) {
  // One line per problem: a file name inside a model's error text (a path in a failure to read
  // or lock) must not forge lines either. Backslashes are left, so names already made
  // printable are not escaped twice.
  std::string line;
  for (const char c : message) {
    const auto byte = static_cast<unsigned char>(c);
    line += byte < 0x20 || byte == 0x7F ? Printable(std::string_view(&c, 1)) : std::string(1, c);
  }
  std::cerr << line << "\n";
  fields["message"] = message;
  errors_.push_back(std::move(fields));
}

void Report::Problem(const std::string& where, const Error& error, ordered_json fields) {
  fields["error"] = error.number();
  fields["description"] = error.description();
  Problem(where + ": error " + std::to_string(error.number()) + ": " + error.description(),
          std::move(fields));
}

int Report::Guard(const std::string& file, const std::function<int()>& work) {
  try {
    return work();
  } catch (...) {
    const Error error = ErrorFromException(std::current_exception());
    if (file.empty()) {
      Problem("corvale", error);
    } else {
      Problem(Printable(file), error, {{"file", file}});
    }
    return Finish(nullptr, {});
  }
}

int Report::Finish(ordered_json content, const TextView& text) {
  if (json_) {
    if (content.is_null()) content = ordered_json::object();
    content["errors"] = errors_;
    // Names that are not UTF-8 would stop the dump; their odd bytes print as U+FFFD instead.
    std::cout << content.dump(2, ' ', false, ordered_json::error_handler_t::replace) << "\n";
  } else if (!content.is_null()) {
    text(std::cout, content);
  }
  std::cout.flush();
  return Failed() ? 1 : 0;
}

void ReportParseError(Report& report, const std::string& path, const xml::ParseError& error) {
  std::string where = Printable(path);
  if (error.line > 0)
    where += ":" + std::to_string(error.line) + ":" + std::to_string(error.linepos);
  report.Problem(
      where + ": " + error.reason,
      {{"file", path}, {"line", error.line}, {"column", error.linepos}, {"reason", error.reason}});
}

std::string Printable(std::string_view name) {
  std::string text;
  text.reserve(name.size());
  for (const char c : name) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '\\') {
      text += "\\\\";
    } else if (c == '\n') {
      text += "\\n";
    } else if (c == '\r') {
      text += "\\r";
    } else if (c == '\t') {
      text += "\\t";
    } else if (byte < 0x20 || byte == 0x7F) {
      char escaped[5];
      std::snprintf(escaped, sizeof escaped, "\\x%02x", byte);
      text += escaped;
    } else {
      text += c;
    }
  }
  return text;
}

std::string Text(const ordered_json& value) {
  if (value.is_string()) return value.get<std::string>();
  if (value.is_number_float()) return DoubleText(value.get<double>());
  if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
  if (value.is_null()) return "";
  return value.dump();
}

std::string Coded(const ordered_json& name, const ordered_json& code) {
  const std::string text = Text(name);
  return text.empty() ? Text(code) : text + " (" + Text(code) + ")";
}

}  // namespace corvale::cli

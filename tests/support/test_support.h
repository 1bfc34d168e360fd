// Small helpers shared by the test programs.
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "corvale/core/xml.h"

namespace corvale::test {

// A fresh folder for this test program, removed when the program ends.
std::string TempDir();
// Writes bytes to TempDir()/name (or to an absolute path) and returns the path.
std::string WriteFile(std::string_view name, std::string_view bytes);
std::string ReadFile(const std::string& path);
// A document under tests/data.
std::string DataPath(std::string_view name);

// The number of the corvale::Error that `call` raises, 0 when it raises none; the error's
// description goes to `description` when one is given.
int32_t ErrorOf(const std::function<void()>& call, std::string* description = nullptr);

bool Contains(std::string_view text, std::string_view part);

// The text of the element's first child of that name, or "(absent)" when it has none.
std::string ChildText(const xml::Node& element, std::string_view name);
// The ChildText of each name, joined by "|".
std::string ChildTexts(const xml::Node& element, std::initializer_list<std::string_view> names);

// One run of the built corvale program: exit status (-1 when it did not exit) and output.
struct CliRun {
  int status = -1;
  std::string out, err;
  // Whether either output holds `part`.
  bool Says(std::string_view part) const { return Contains(out, part) || Contains(err, part); }
};
// Runs the program with `args`, each quoted for the shell, with no terminal on standard input
// and the settings store under TempDir(), so that runs never touch the user's own settings.
CliRun RunCli(const std::vector<std::string>& args);

}  // namespace corvale::test

// Small helpers shared by the test programs.
#pragma once

#include <string>
#include <string_view>

namespace corvale::test {

// A fresh folder for this test program, removed when the program ends.
std::string TempDir();
// Writes bytes to TempDir()/name (or to an absolute path) and returns the path.
std::string WriteFile(std::string_view name, std::string_view bytes);
std::string ReadFile(const std::string& path);
// A document under tests/data.
std::string DataPath(std::string_view name);

}  // namespace corvale::test

#include "tests/support/test_support.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace corvale::test {
namespace fs = std::filesystem;

namespace {
struct TempFolder {
  fs::path path;
  TempFolder() {
    std::string pattern = (fs::temp_directory_path() / "corvale-test-XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::runtime_error("cannot make a temporary folder");
    path = pattern;
  }
  ~TempFolder() {
    std::error_code ignored;
    fs::remove_all(path, ignored);
  }
};
}  // namespace

std::string TempDir() {
  static TempFolder folder;
  return folder.path.string();
}

std::string WriteFile(std::string_view name, std::string_view bytes) {
  fs::path path(name);
  if (path.is_relative()) path = fs::path(TempDir()) / path;
  fs::create_directories(path.parent_path());
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return path.string();
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

std::string DataPath(std::string_view name) {
  return (fs::path(CORVALE_TEST_DATA) / fs::path(name)).string();
}

}  // namespace corvale::test

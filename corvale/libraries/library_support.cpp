#include "corvale/libraries/library_support.h"

#include <filesystem>
#include <system_error>
#include <vector>

#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/core/registry.h"
#include "corvale/libraries/instruments.h"

namespace corvale {

namespace {

template <class T>
std::shared_ptr<T> CreateAs(std::string_view className, std::string_view what) {
  ObjectPtr object = CreateObject(className);
  auto typed = std::dynamic_pointer_cast<T>(object);
  if (!typed) {
    throw Error(err::kTypeMismatch,
                "Class " + std::string(className) + " is not " + std::string(what));
  }
  return typed;
}

bool IsSeparator(char c) { return c == '\\' || c == '/'; }

}  // namespace

CreatedInstrument CreateInstrumentFromBaseClass(std::string_view baseClass) {
  if (baseClass.find('.') == std::string_view::npos) {
    return {CreateAs<IInstrument>(kStdInstrumentClass, "an instrument"),
            std::string(kStdInstrumentClass)};
  }
  if (WildcardMatch(baseClass, "*.*|*")) {
    const size_t bar = baseClass.find('|');
    std::string_view libraryClass = baseClass.substr(0, bar);
    std::string_view key = baseClass.substr(bar + 1);
    key = key.substr(0, key.find('|'));
    auto library = CreateAs<IInstruments>(libraryClass, "an instrument library");
    InstrumentPtr instrument = library->Item(std::string(key));
    if (!instrument) {
      throw Error(err::kObjectNotSet, "Library " + std::string(libraryClass) +
                                          " has no instrument " + std::string(key));
    }
    return {std::move(instrument), std::string(baseClass)};
  }
  return {CreateAs<IInstrument>(baseClass, "an instrument"), std::string(baseClass)};
}

std::string FolderOf(std::string_view path) {
  for (size_t i = path.size(); i > 0; --i) {
    if (IsSeparator(path[i - 1])) return std::string(path.substr(0, i));
  }
  return {};
}

std::string ResolvePathNoCase(std::string_view path) {
  namespace fs = std::filesystem;
  std::error_code ec;
  if (path.empty() || fs::exists(fs::path(std::string(path)), ec)) return std::string(path);

  // Walk the path part by part, taking each part as it is when it exists and otherwise the
  // one entry of its folder that differs only in case.
  std::vector<std::string> parts;
  std::string part;
  for (char c : path) {
    if (IsSeparator(c)) {
      parts.push_back(part);
      part.clear();
    } else {
      part += c;
    }
  }
  parts.push_back(part);

  fs::path current = IsSeparator(path.front()) ? fs::path("/") : fs::path();
  for (const std::string& name : parts) {
    if (name.empty() || name == ".") continue;
    fs::path exact = current / name;
    if (name == ".." || fs::exists(exact, ec)) {
      current = exact;
      continue;
    }
    const fs::path folder = current.empty() ? fs::path(".") : current;
    bool found = false;
    for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
      if (EqualsNoCase(it->path().filename().string(), name)) {
        current /= it->path().filename();
        found = true;
        break;
      }
    }
    if (!found) return std::string(path);
  }
  return current.string();
}

PicturePtr LibraryIcon(std::string_view iconSource, std::string_view libraryFile) {
  try {
    const std::string upper = UpperCase(iconSource);
    // A drive-qualified path, or an absolute path of this system, names the file itself.
    if (WildcardMatch(upper, "*:\\*.ICO") || WildcardMatch(upper, "/*.ICO")) {
      return Host().LoadIcon(ResolvePathNoCase(upper), "");
    }
    if (WildcardMatch(upper, "*.ICO")) {
      return Host().LoadIcon(ResolvePathNoCase(FolderOf(libraryFile) + upper), "");
    }
    if (upper.empty()) return Host().LoadIcon("XML", kLibraryIconGroup);
    return Host().LoadIcon(upper, kLibraryIconGroup);
  } catch (...) {
    return nullptr;  // an icon never fails the operation that wanted it
  }
}

}  // namespace corvale

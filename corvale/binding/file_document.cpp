#include "corvale/binding/file_document.h"

namespace corvale {

FileDocument::FileDocument(std::string_view rootName, bool attachRoot) : document_(NewDocument()) {
  if (rootName.empty()) return;
  root_ = CreateElement(rootName);
  if (attachRoot) document_.appendChild(root_);
}

bool FileDocument::LoadFile(const std::string& path) {
  const bool parsed = document_.load(path);
  loadedRoot_ = parsed ? document_.documentElement().nodeName() : std::string();
  return parsed;
}

void FileDocument::SaveTo(const std::string& path) const {
  document_.save(path.empty() ? file_ : path);
}

}  // namespace corvale

#include "corvale/binding/file_document.h"

namespace corvale {

FileDocument::FileDocument(std::string_view rootName, bool attachRoot) : document_(NewDocument()) {
  if (rootName.empty()) return;
  root_ = CreateElement(rootName);
  if (attachRoot) document_.appendChild(root_);
}

bool FileDocument::LoadFile(const std::string& path) { return document_.load(path); }

void FileDocument::SaveTo(const std::string& path) const {
  document_.save(path.empty() ? file_ : path);
}

}  // namespace corvale

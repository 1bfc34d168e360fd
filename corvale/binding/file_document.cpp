#include "corvale/binding/file_document.h"

#include "corvale/core/error.h"

namespace corvale {

FileDocument::FileDocument(std::string_view rootName, bool attachRoot) : document_(NewDocument()) {
  if (rootName.empty()) return;
  root_ = CreateElement(rootName);
  if (attachRoot) document_.appendChild(root_);
}

bool FileDocument::LoadFile(const std::string& path) {
  // Stamped before the read: a change made while reading counts as a change after it.
  const FileStamp stamp = StampFile(path);
  const bool parsed = document_.load(path);
  loadedRoot_ = parsed ? document_.documentElement().nodeName() : std::string();
  if (!parsed) return false;
  knownPath_ = ResolveSaveTarget(path);
  knownStamp_ = stamp;
  return true;
}

void FileDocument::SaveTo(const std::string& path) {
  const std::string& target = path.empty() ? file_ : path;
  const std::string resolved = ResolveSaveTarget(target);
  const std::string bytes = document_.saveToString();
  FileLock lock(target);
  if (!overwriteChanged_ && resolved == knownPath_ && StampFile(target) != knownStamp_) {
    throw Error(err::kFileChanged,
                StandardDescription(err::kFileChanged) + ": '" + target + "' was not saved");
  }
  knownStamp_ = ReplaceFile(target, bytes);
  knownPath_ = resolved;
}

}  // namespace corvale

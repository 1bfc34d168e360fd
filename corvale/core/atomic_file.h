// Replacing a file so that readers and crashes only ever see the old or the new contents,
// and the advisory lock that read-modify-write operations hold from the read to the replace.
// Every save of a document and of the settings store goes through here.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace corvale {

// What a save compares to tell whether a file changed since it was read.
struct FileStamp {
  bool exists = false;
  uint64_t device = 0;
  uint64_t inode = 0;
  int64_t size = 0;
  int64_t mtimeNs = 0;
  bool operator==(const FileStamp&) const = default;
};

// The stamp of the file at path (symbolic links followed); exists is false when there is none.
FileStamp StampFile(const std::string& path);

// Raises the error for a failed file operation (errno code): 70 "Permission denied" when the
// system refused access, 75 "Path/File access error" otherwise, naming what was done and path.
[[noreturn]] void RaiseFileError(std::string_view what, const std::string& path, int code);

// The file a save of path replaces, spelled one way: path with the symbolic links of its last
// component followed (a link to a missing file gives the file it would name), in its folder's
// canonical absolute form.
std::string ResolveSaveTarget(const std::string& path);

// Writes bytes to a temporary file in the target's folder, flushes it and renames it over the
// target, then flushes the folder. The real file behind a symbolic link is the one replaced;
// the old file's permissions are kept, and its owner and group when running as root. A target
// the user may not write is refused with error 70 naming it and left alone; any other failure
// raises error 75 and leaves the old file whole. A temporary left by a process that was killed
// during an earlier save of the same target is removed. Returns the new file's stamp.
FileStamp ReplaceFile(const std::string& path, std::string_view bytes);

// An exclusive advisory lock (flock) on a lock file beside the target, ".NAME.lock", which
// stays in the folder. Other processes taking the lock for the same target wait; within one
// process the lock is re-entrant for the thread that holds it, so a save may lock what its
// caller already locked. Raises error 70 or 75 when the lock file cannot be opened.
class FileLock {
 public:
  FileLock() = default;  // holds nothing
  explicit FileLock(const std::string& path);
  ~FileLock();
  FileLock(FileLock&& other) noexcept;
  FileLock& operator=(FileLock&& other) noexcept;

  bool Held() const { return !key_.empty(); }
  void Release();

 private:
  std::string key_;  // the lock file's path
};

}  // namespace corvale

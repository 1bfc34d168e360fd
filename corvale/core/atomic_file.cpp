#include "corvale/core/atomic_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <random>
#include <thread>
#include <utility>

#include "corvale/core/error.h"

namespace corvale {

namespace {

constexpr std::string_view kTempMark = ".corvale-";
constexpr std::string_view kTempSuffix = ".tmp";
// Temporary names start with the target's name; a long name is cut so they still fit.
constexpr size_t kNamePrefixMax = 160;

std::pair<std::string, std::string> SplitPath(const std::string& path) {
  const size_t slash = path.rfind('/');
  if (slash == std::string::npos) return {".", path};
  return {slash == 0 ? "/" : path.substr(0, slash), path.substr(slash + 1)};
}

class Fd {
 public:
  explicit Fd(int fd = -1) : fd_(fd) {}
  ~Fd() { Reset(); }
  Fd(const Fd&) = delete;
  Fd& operator=(const Fd&) = delete;
  int get() const { return fd_; }
  void Reset(int fd = -1) {
    if (fd_ >= 0) ::close(fd_);
    fd_ = fd;
  }
  // Closes and reports a failed close: the last chance to hear of a failed write.
  int Close() {
    const int result = ::close(fd_);
    fd_ = -1;
    return result == 0 ? 0 : errno;
  }

 private:
  int fd_;
};

std::string TempPrefix(const std::string& name) {
  return "." + name.substr(0, kNamePrefixMax) + std::string(kTempMark);
}

std::string NewTempName(const std::string& name) {
  static std::atomic<unsigned> counter{0};
  return TempPrefix(name) + std::to_string(::getpid()) + "-" + std::to_string(++counter) + "-" +
         std::to_string(std::random_device{}() & 0xffffff) + std::string(kTempSuffix);
}

// Removes the temporaries of this target whose writing process is gone: the pid stands
// right after the mark, and a process that no longer exists cannot be writing.
void RemoveStaleTemporaries(int dirFd, const std::string& name) {
  const int listFd = ::dup(dirFd);
  if (listFd < 0) return;
  DIR* dir = ::fdopendir(listFd);
  if (!dir) {
    ::close(listFd);
    return;
  }
  const std::string prefix = TempPrefix(name);
  while (const dirent* entry = ::readdir(dir)) {
    std::string_view entryName = entry->d_name;
    if (!entryName.starts_with(prefix) || !entryName.ends_with(kTempSuffix)) continue;
    const long pid = std::strtol(entry->d_name + prefix.size(), nullptr, 10);
    if (pid <= 0 || pid == ::getpid()) continue;
    if (::kill(static_cast<pid_t>(pid), 0) != 0 && errno == ESRCH) {
      ::unlinkat(dirFd, entry->d_name, 0);
    }
  }
  ::closedir(dir);
}

bool MayWrite(const struct stat& st, const std::string& path) {
  // Root may write anything; a file that grants writing to no one is still one the user
  // marked read-only, and a save keeps it.
  if (::geteuid() == 0) return (st.st_mode & 0222) != 0;
  return ::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0;
}

int WriteAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t n = ::write(fd, bytes.data(), bytes.size());
    if (n < 0) {
      if (errno == EINTR) continue;
      return errno;
    }
    if (n == 0) return EIO;
    bytes.remove_prefix(static_cast<size_t>(n));
  }
  return 0;
}

FileStamp StampOf(const struct stat& st) {
  return {true, static_cast<uint64_t>(st.st_dev), static_cast<uint64_t>(st.st_ino),
          static_cast<int64_t>(st.st_size),
          static_cast<int64_t>(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec};
}

// An unnamed file in the folder (O_TMPFILE): a process killed while writing leaves nothing.
// It is given a name only when complete, just before the rename. -1 when the file system
// cannot make one.
int OpenUnnamed(int dirFd, mode_t mode) {
#ifdef O_TMPFILE
  return ::openat(dirFd, ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, mode);
#else
  (void)dirFd;
  (void)mode;
  errno = EOPNOTSUPP;
  return -1;
#endif
}

bool LinkUnnamed(int fd, int dirFd, const std::string& tempName) {
  const std::string proc = "/proc/self/fd/" + std::to_string(fd);
  if (::linkat(AT_FDCWD, proc.c_str(), dirFd, tempName.c_str(), AT_SYMLINK_FOLLOW) == 0) {
    return true;
  }
  return ::linkat(fd, "", dirFd, tempName.c_str(), AT_EMPTY_PATH) == 0;
}

}  // namespace

void RaiseFileError(std::string_view what, const std::string& path, int code) {
  const bool denied = code == EACCES || code == EPERM || code == EROFS;
  const int32_t number = denied ? err::kPermissionDenied : err::kPathFileAccess;
  const std::string description = StandardDescription(number), reason = std::strerror(code);
  std::string text = description + ": cannot " + std::string(what) + " '" + path + "'";
  if (reason != description) text += ": " + reason;
  throw Error(number, text);
}

FileStamp StampFile(const std::string& path) {
  struct stat st;
  if (::stat(path.c_str(), &st) != 0) return {};
  return StampOf(st);
}

namespace {

// path with the symbolic links of its last component followed.
std::string FollowLinks(const std::string& path) {
  std::string target = path;
  for (int hops = 0; hops < 40; ++hops) {
    struct stat st;
    if (::lstat(target.c_str(), &st) != 0 || !S_ISLNK(st.st_mode)) return target;
    std::string link(static_cast<size_t>(st.st_size > 0 ? st.st_size : 255) + 1, '\0');
    const ssize_t n = ::readlink(target.c_str(), link.data(), link.size());
    if (n < 0 || static_cast<size_t>(n) >= link.size()) return target;
    link.resize(static_cast<size_t>(n));
    target = link.front() == '/' ? link : SplitPath(target).first + "/" + link;
  }
  return target;
}

}  // namespace

std::string ResolveSaveTarget(const std::string& path) {
  // One spelling per file, so that locks and stamps taken through "a.xml", "./a.xml" or a
  // linked folder all meet.
  const auto [folder, name] = SplitPath(FollowLinks(path));
  std::error_code error;
  const std::filesystem::path real = std::filesystem::weakly_canonical(folder, error);
  if (error || real.empty()) return folder + "/" + name;
  const std::string canonical = real.string();
  return canonical == "/" ? "/" + name : canonical + "/" + name;
}

FileStamp ReplaceFile(const std::string& path, std::string_view bytes) {
  const std::string target = ResolveSaveTarget(path);
  const auto [folder, name] = SplitPath(target);
  if (name.empty() || name == "." || name == "..") RaiseFileError("save", path, EISDIR);

  struct stat old;
  const bool exists = ::stat(target.c_str(), &old) == 0;
  if (exists && S_ISDIR(old.st_mode)) RaiseFileError("save", path, EISDIR);
  if (exists && !MayWrite(old, target)) RaiseFileError("save", path, EACCES);
  mode_t mode;
  if (exists) {
    mode = old.st_mode & 07777;
  } else {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    mode = 0666 & ~mask;
  }

  Fd dir(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (dir.get() < 0) RaiseFileError("save", path, errno);
  RemoveStaleTemporaries(dir.get(), name);

  const std::string tempName = NewTempName(name);
  bool named = false;
  Fd file(OpenUnnamed(dir.get(), mode));
  if (file.get() < 0) {
    file.Reset(
        ::openat(dir.get(), tempName.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0600));
    if (file.get() < 0) RaiseFileError("save", path, errno);
    named = true;
  }
  auto fail = [&](int code) {
    file.Reset();
    if (named) ::unlinkat(dir.get(), tempName.c_str(), 0);
    RaiseFileError("save", path, code);
  };

  if (::fchmod(file.get(), mode) != 0) fail(errno);
  // Ownership follows the old file where the system lets us give it; only root may give
  // the owner away, while a user may still keep a group they belong to.
  if (exists) {
    const uid_t owner = ::geteuid() == 0 ? old.st_uid : static_cast<uid_t>(-1);
    if (::fchown(file.get(), owner, old.st_gid) != 0 && ::geteuid() == 0) fail(errno);
    if (::fchmod(file.get(), mode) != 0) fail(errno);  // chown may drop set-id bits
  }
  if (int code = WriteAll(file.get(), bytes)) fail(code);
  if (::fsync(file.get()) != 0) fail(errno);
  struct stat written;
  if (::fstat(file.get(), &written) != 0) fail(errno);

  if (!named) {
    if (!LinkUnnamed(file.get(), dir.get(), tempName)) fail(errno);
    named = true;
  }
  if (int code = file.Close()) fail(code);
  if (::renameat(dir.get(), tempName.c_str(), dir.get(), name.c_str()) != 0) {
    const int code = errno;
    ::unlinkat(dir.get(), tempName.c_str(), 0);
    RaiseFileError("save", path, code);
  }
  // The rename is only durable once the folder is; some file systems cannot sync a folder.
  if (::fsync(dir.get()) != 0 && errno != EINVAL && errno != EROFS)
    RaiseFileError("save", path, errno);
  return StampOf(written);
}

// ---- FileLock -----------------------------------------------------------------------------

namespace {

// One flock per lock file and process, shared by the nested locks of the thread holding it.
struct HeldLock {
  int fd = -1;
  int depth = 0;
  std::thread::id owner;
};

struct LockTable {
  std::mutex mutex;
  std::condition_variable released;
  std::map<std::string, HeldLock> held;
};

LockTable& Locks() {
  static LockTable* table = new LockTable;  // never destroyed: locks may outlive statics
  return *table;
}

std::string LockFileFor(const std::string& path) {
  const auto [folder, name] = SplitPath(ResolveSaveTarget(path));
  if (name.size() <= kNamePrefixMax) return folder + "/." + name + ".lock";
  // A name near the file system's limit has no room for the dot and suffix.
  return folder + "/." + name.substr(0, kNamePrefixMax) + "-" +
         std::to_string(std::hash<std::string>{}(name)) + ".lock";
}

}  // namespace

FileLock::FileLock(const std::string& path) {
  const std::string key = LockFileFor(path);
  LockTable& table = Locks();
  std::unique_lock guard(table.mutex);
  const auto self = std::this_thread::get_id();
  table.released.wait(guard, [&] {
    auto found = table.held.find(key);
    return found == table.held.end() || found->second.owner == self;
  });
  if (auto found = table.held.find(key); found != table.held.end()) {
    ++found->second.depth;
    key_ = key;
    return;
  }
  // Claimed for this thread before the wait on other processes, so that other threads of
  // this process queue here rather than on the file.
  HeldLock& entry = table.held[key];
  entry.owner = self;
  entry.depth = 1;
  guard.unlock();

  // Read access is enough for flock, so users who may only read the folder's files can lock.
  int fd = ::open(key.c_str(), O_RDONLY | O_CREAT | O_CLOEXEC, 0666);
  int code = errno;
  if (fd >= 0) {
    while (::flock(fd, LOCK_EX) != 0) {
      if (errno == EINTR) continue;
      code = errno;
      ::close(fd);
      fd = -1;
      break;
    }
  }
  guard.lock();
  if (fd < 0) {
    table.held.erase(key);
    table.released.notify_all();
    guard.unlock();
    RaiseFileError("lock", path, code);
  }
  table.held[key].fd = fd;
  key_ = key;
}

FileLock::~FileLock() { Release(); }

FileLock::FileLock(FileLock&& other) noexcept : key_(std::exchange(other.key_, {})) {}

FileLock& FileLock::operator=(FileLock&& other) noexcept {
  if (this != &other) {
    Release();
    key_ = std::exchange(other.key_, {});
  }
  return *this;
}

void FileLock::Release() {
  if (key_.empty()) return;
  LockTable& table = Locks();
  std::lock_guard guard(table.mutex);
  auto found = table.held.find(key_);
  key_.clear();
  if (found == table.held.end() || --found->second.depth > 0) return;
  ::close(found->second.fd);  // closing the last descriptor releases the flock
  table.held.erase(found);
  table.released.notify_all();
}

}  // namespace corvale

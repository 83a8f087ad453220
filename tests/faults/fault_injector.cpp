// Preloaded into a program, makes its n-th call of one kind fail, and records what the program
// changes on the disk. Calls count from where main() begins; those that go by a path or a file only
// when it lies below a directory. The environment says what to do:
//
//   FAULT_CALL    open, create (an open() that may make a file), read, write, sync, rename, lock,
//                 close, truncate, mkdir, unlink or memory; several with "+" between them count as
//                 one kind
//   FAULT_AT      which call fails, from 1 on; 0 for none
//   FAULT_AS      an errno's number, or "short" (half of the bytes are transferred), "kill", "stop"
//                 (the process gets the signal before the call), "torn" (the call is short, all
//                 after it fail for lack of space), "planted" (before the call, its path becomes a
//                 name of the file FAULT_VICTIM). A close() that fails has closed.
//   FAULT_BELOW   the directory
//   FAULT_REPORT  a file that gets a line: how many calls there were, and the path of the one that
//                 failed or "-"
//   FAULT_JOURNAL a file that gets a record of each change below the directory. A record is a line
//                 with tabs between what happened, the inode, a number, the count of bytes that
//                 follow the line, and the path. The number is the offset of a write, the new size
//                 of a truncate, and the permissions of what create made. For rename and link, the
//                 bytes are the second path.

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

// glibc's own names of what is replaced here.
extern "C" void* __libc_malloc(std::size_t);               // NOLINT
extern "C" void* __libc_calloc(std::size_t, std::size_t);  // NOLINT
extern "C" void* __libc_realloc(void*, std::size_t);       // NOLINT

namespace {

struct Plan {
  std::string_view call = "";
  long at = 0;
  std::string_view as = "";
  std::string_view below = "";
};
Plan plan;
bool isArmed = false;  // within main()
long calls = 0;
int journal = -1;
std::array<char, PATH_MAX> failedPath{"-"};

template <class Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

bool isPlanned(std::string_view call) {
  for (std::string_view rest = plan.call; !rest.empty();) {
    const auto end = rest.find('+');
    if (rest.substr(0, end) == call) return true;
    rest.remove_prefix(end == rest.npos ? rest.size() : end + 1);
  }
  return false;
}

// True when this call has to fail; errno is set then, unless it is to be short.
bool fails(std::string_view call, const char* path) {
  if (!isArmed || !isPlanned(call)) return false;
  if (path != nullptr && !std::string_view(path).starts_with(plan.below)) return false;
  ++calls;
  const bool isTorn = plan.as == "torn";
  if (plan.at == 0 || calls < plan.at || (calls > plan.at && !isTorn)) return false;
  if (path != nullptr) std::strncpy(failedPath.data(), path, failedPath.size() - 1);
  if (plan.as == "kill") raise(SIGKILL);
  if (plan.as == "stop") raise(SIGSTOP);
  if (plan.as == "planted") syscall(SYS_link, std::getenv("FAULT_VICTIM"), path);
  if (plan.as == "stop" || plan.as == "planted") return false;
  errno = isTorn ? ENOSPC : std::atoi(plan.as.data());
  return true;
}

using Path = std::array<char, PATH_MAX>;

// Where an open file is; empty when the system does not say.
Path pathOf(int file) {
  std::array<char, 32> link{};
  std::snprintf(link.data(), link.size(), "/proc/self/fd/%d", file);
  Path path{};
  if (readlink(link.data(), path.data(), path.size() - 1) < 0) path[0] = '\0';
  return path;
}

// Relative names are taken to lie in the working directory.
Path absolute(const char* name) {
  Path path{};
  if (name[0] != '/' && getcwd(path.data(), path.size()) != nullptr) {
    path[std::strlen(path.data())] = '/';
  }
  std::strncat(path.data(), name, path.size() - std::strlen(path.data()) - 1);
  return path;
}

bool failsOn(std::string_view call, int file) {
  return isArmed && isPlanned(call) && fails(call, pathOf(file).data());
}

bool failsAt(std::string_view call, const char* name) {
  return isArmed && isPlanned(call) && fails(call, absolute(name).data());
}

// Whether the call that fails transfers a part after all.
bool isShort() {
  return plan.as == "short" || (plan.as == "torn" && calls == plan.at);
}

// --- The journal ---

bool isRecorded(const Path& path) {
  return isArmed && journal >= 0 && std::string_view(path.data()).starts_with(plan.below);
}

void record(const char* what, ino_t inode, long number, std::string_view bytes, const Path& path) {
  std::array<char, PATH_MAX + 100> line{};
  const int length = std::snprintf(line.data(), line.size(), "%s\t%lu\t%ld\t%zu\t%s\n", what, inode,
                                   number, bytes.size(), path.data());
  syscall(SYS_write, journal, line.data(), length);
  syscall(SYS_write, journal, bytes.data(), bytes.size());
}

struct stat statusOf(int file) {
  struct stat status {};
  fstat(file, &status);
  return status;
}

// A change of an open file.
void recordOn(const char* what, int file, long number, std::string_view bytes = {}) {
  if (!isArmed || journal < 0) return;
  if (const Path path = pathOf(file); isRecorded(path)) {
    record(what, statusOf(file).st_ino, number, bytes, path);
  }
}

// A change of a name.
int recordedAt(const char* what, long result, const char* name, const char* second = "") {
  if (result != 0 || !isArmed || journal < 0) return static_cast<int>(result);
  const Path other = second[0] == '\0' ? Path{} : absolute(second);
  if (const Path path = absolute(name); isRecorded(path)) record(what, 0, 0, other.data(), path);
  return 0;
}

constexpr off_t kCurrentOffset = -1;

// Where a write() to an open file goes.
off_t currentOffset(int file) {
  const bool isAppended = (fcntl(file, F_GETFL) & O_APPEND) != 0;
  return isAppended ? statusOf(file).st_size : lseek(file, 0, SEEK_CUR);
}

ssize_t writeRecorded(int file, const void* buffer, size_t size, off_t offset) {
  if (failsOn("write", file)) {
    if (!isShort()) return -1;
    size = (size + 1) / 2;
  }
  const bool isCurrent = offset == kCurrentOffset;
  const off_t start = isCurrent && journal >= 0 ? currentOffset(file) : offset;
  const ssize_t written = isCurrent ? syscall(SYS_write, file, buffer, size)
                                    : syscall(SYS_pwrite64, file, buffer, size, offset);
  if (written > 0) {
    recordOn("write", file, start, {static_cast<const char*>(buffer), std::size_t(written)});
  }
  return written;
}

int openRecorded(int directory, const char* path, int flags, mode_t mode) {
  if (failsAt("open", path)) return -1;
  const bool mayCreate = (flags & O_CREAT) != 0;
  if (mayCreate && failsAt("create", path)) return -1;
  const bool isNew = mayCreate && faccessat(directory, path, F_OK, AT_SYMLINK_NOFOLLOW) != 0;
  const int file = static_cast<int>(syscall(SYS_openat, directory, path, flags, mode));
  if (isNew && file >= 0) recordOn("create", file, statusOf(file).st_mode & 0777U);
  return file;
}

void report() {
  isArmed = false;
  const char* name = std::getenv("FAULT_REPORT");
  std::FILE* file = name == nullptr ? nullptr : std::fopen(name, "w");
  if (file == nullptr) return;
  std::fprintf(file, "%ld %s\n", calls, failedPath.data());
  std::fclose(file);
}

int (*realMain)(int, char**, char**);

int plannedMain(int count, char** words, char** environment) {
  const auto variable = [](const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
  };
  plan = {.call = variable("FAULT_CALL"),
          .at = std::atol(variable("FAULT_AT")),
          .as = variable("FAULT_AS"),
          .below = variable("FAULT_BELOW")};
  if (const char* name = std::getenv("FAULT_JOURNAL")) {
    journal = static_cast<int>(
        syscall(SYS_openat, AT_FDCWD, name, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
  }
  isArmed = true;
  const int status = realMain(count, words, environment);
  report();
  return status;
}

}  // namespace

// NOLINTBEGIN: the signatures and names are the C library's
extern "C" {

int __libc_start_main(int (*main)(int, char**, char**), int count, char** words, void (*init)(),
                      void (*fini)(), void (*linkerFini)(), void* stackEnd) {
  realMain = main;
  return next<decltype(__libc_start_main)>("__libc_start_main")(plannedMain, count, words, init,
                                                                fini, linkerFini, stackEnd);
}

void _Exit(int status) {
  report();
  syscall(SYS_exit_group, status);
  __builtin_unreachable();
}

int open(const char* path, int flags, ...) {
  std::va_list rest;
  va_start(rest, flags);
  const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(rest, mode_t) : 0;
  va_end(rest);
  return openRecorded(AT_FDCWD, path, flags, mode);
}
int open64(const char* path, int flags, ...) __attribute__((alias("open")));

int openat(int directory, const char* path, int flags, ...) {
  std::va_list rest;
  va_start(rest, flags);
  const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(rest, mode_t) : 0;
  va_end(rest);
  return openRecorded(directory, path, flags, mode);
}
int openat64(int directory, const char* path, int flags, ...) __attribute__((alias("openat")));

DIR* opendir(const char* path) {
  if (failsAt("open", path)) return nullptr;
  return next<decltype(opendir)>("opendir")(path);
}

ssize_t read(int file, void* buffer, size_t size) {
  if (failsOn("read", file)) {
    if (!isShort()) return -1;
    size = (size + 1) / 2;
  }
  return syscall(SYS_read, file, buffer, size);
}

ssize_t write(int file, const void* buffer, size_t size) {
  return writeRecorded(file, buffer, size, kCurrentOffset);
}
ssize_t pwrite(int file, const void* buffer, size_t size, off_t offset) {
  return writeRecorded(file, buffer, size, offset);
}
ssize_t pwrite64(int file, const void* buffer, size_t size, off_t offset)
    __attribute__((alias("pwrite")));

int fsync(int file) {
  const int result = failsOn("sync", file) ? -1 : int(syscall(SYS_fsync, file));
  if (result == 0) recordOn("sync", file, 0);
  return result;
}
int fdatasync(int file) __attribute__((alias("fsync")));

int rename(const char* from, const char* to) {
  if (failsAt("rename", to)) return -1;
  return recordedAt("rename", syscall(SYS_rename, from, to), from, to);
}

int link(const char* from, const char* to) {
  return recordedAt("link", syscall(SYS_link, from, to), from, to);
}

int flock(int file, int operation) {
  return failsOn("lock", file) ? -1 : int(syscall(SYS_flock, file, operation));
}

int close(int file) {
  const bool isFailure = failsOn("close", file);
  const int error = errno;
  const int result = int(syscall(SYS_close, file));
  if (!isFailure) return result;
  errno = error;
  return -1;
}

int ftruncate(int file, off_t size) {
  const int result = failsOn("truncate", file) ? -1 : int(syscall(SYS_ftruncate, file, size));
  if (result == 0) recordOn("truncate", file, size);
  return result;
}
int ftruncate64(int file, off_t size) __attribute__((alias("ftruncate")));

int mkdir(const char* path, mode_t mode) {
  return failsAt("mkdir", path) ? -1 : recordedAt("mkdir", syscall(SYS_mkdir, path, mode), path);
}

int unlink(const char* path) {
  return failsAt("unlink", path) ? -1 : recordedAt("unlink", syscall(SYS_unlink, path), path);
}

void* malloc(std::size_t size) {
  return fails("memory", nullptr) ? nullptr : __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size) {
  return fails("memory", nullptr) ? nullptr : __libc_calloc(count, size);
}
void* realloc(void* old, std::size_t size) {
  return fails("memory", nullptr) ? nullptr : __libc_realloc(old, size);
}

}  // extern "C"
// NOLINTEND

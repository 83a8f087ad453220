// Preloaded into a program, makes its n-th call of one kind fail. Calls count from where main()
// begins; those that go by a path or a file only when it lies below a directory. The environment
// says what to do:
//
//   FAULT_CALL   open, read, write, sync, rename, lock, close, truncate, mkdir, unlink or memory;
//                several with "+" between them count as one kind
//   FAULT_AT     which call fails, from 1 on; 0 for none
//   FAULT_AS     an errno's number, or "short" (half of the bytes are transferred), "kill", "stop"
//                (the process gets the signal before the call), "torn" (the call is short, all
//                after it fail for lack of space). A close() that fails has closed.
//   FAULT_BELOW  the directory
//   FAULT_REPORT a file that gets a line: how many calls there were, and the path of the one that
//                failed or "-"

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
  if (plan.as == "stop") return false;
  errno = isTorn ? ENOSPC : std::atoi(plan.as.data());
  return true;
}

// Where an open file is.
bool failsOn(std::string_view call, int file) {
  if (!isArmed || !isPlanned(call)) return false;
  std::array<char, 32> link{};
  std::snprintf(link.data(), link.size(), "/proc/self/fd/%d", file);
  std::array<char, PATH_MAX> path{};
  if (readlink(link.data(), path.data(), path.size() - 1) < 0) return false;
  return fails(call, path.data());
}

// Relative names are taken to lie in the working directory.
bool failsAt(std::string_view call, const char* name) {
  if (!isArmed || !isPlanned(call)) return false;
  if (name[0] == '/') return fails(call, name);
  std::array<char, PATH_MAX> path{};
  if (getcwd(path.data(), path.size()) == nullptr) return false;
  const std::size_t length = std::strlen(path.data());
  std::snprintf(path.data() + length, path.size() - length, "/%s", name);
  return fails(call, path.data());
}

// Whether the call that fails transfers a part after all.
bool isShort() {
  return plan.as == "short" || (plan.as == "torn" && calls == plan.at);
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
  if (failsAt("open", path)) return -1;
  return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}
int open64(const char* path, int flags, ...) __attribute__((alias("open")));

int openat(int directory, const char* path, int flags, ...) {
  std::va_list rest;
  va_start(rest, flags);
  const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(rest, mode_t) : 0;
  va_end(rest);
  if (failsAt("open", path)) return -1;
  return static_cast<int>(syscall(SYS_openat, directory, path, flags, mode));
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
  if (failsOn("write", file)) {
    if (!isShort()) return -1;
    size = (size + 1) / 2;
  }
  return syscall(SYS_write, file, buffer, size);
}

ssize_t pwrite(int file, const void* buffer, size_t size, off_t offset) {
  if (failsOn("write", file)) {
    if (!isShort()) return -1;
    size = (size + 1) / 2;
  }
  return syscall(SYS_pwrite64, file, buffer, size, offset);
}
ssize_t pwrite64(int file, const void* buffer, size_t size, off_t offset)
    __attribute__((alias("pwrite")));

int fsync(int file) {
  return failsOn("sync", file) ? -1 : int(syscall(SYS_fsync, file));
}
int fdatasync(int file) {
  return failsOn("sync", file) ? -1 : int(syscall(SYS_fdatasync, file));
}

int rename(const char* from, const char* to) {
  return failsAt("rename", to) ? -1 : int(syscall(SYS_rename, from, to));
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
  return failsOn("truncate", file) ? -1 : int(syscall(SYS_ftruncate, file, size));
}
int ftruncate64(int file, off_t size) __attribute__((alias("ftruncate")));

int mkdir(const char* path, mode_t mode) {
  return failsAt("mkdir", path) ? -1 : int(syscall(SYS_mkdir, path, mode));
}

int unlink(const char* path) {
  return failsAt("unlink", path) ? -1 : int(syscall(SYS_unlink, path));
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

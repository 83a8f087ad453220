// Owner, group, permission bits, access lists and extended attributes of files (POSIX systems). A
// failure throws std::system_error; the path `name` or `directory` is in its text. Unless there is
// a failure, operator new is not called: a run without memory ends at once and would leave a
// temporary file.
#pragma once

#include <sys/types.h>

#include <filesystem>

namespace sourcetype {

// Copies the attributes of the file `from` to the file `to`, which only its owner may use so far:
// owner and group as far as this account may set them, permission bits or access list, and extended
// attributes. If the group cannot be set, the group gets no rights. Rights are set last, so that
// no account gets them too early. Both are open descriptors; `from` is open for reading.
void copyFileAttributes(int from, int to, const std::filesystem::path& name);

// Gives the file, which only its owner may use so far, the rights of any new file in its directory
// `directory`: from the directory's default access list or, without one, from the umask. Does
// nothing on a file system without rights.
void setNewFileRights(int file, const std::filesystem::path& directory);

// Lets every account that may write to `directory` open the lock file `file` in it, and no other
// account. Gives the file the owner and group of the directory as far as this account may. If an
// account that may write could still not open it, all accounts may read the file, which is enough
// to lock it. Failures are ignored.
void shareLockFile(int file, const std::filesystem::path& directory);

}  // namespace sourcetype

// Who may use a file and what is attached to it, beside its content: owner, group, permission bits,
// access lists and extended attributes (POSIX systems). What fails throws std::system_error with
// the path `name`, which is otherwise not looked at, or `directory`. As long as nothing fails, no
// operator new is called: where memory runs out a run ends at once, and would leave a temporary
// file.
#pragma once

#include <sys/types.h>

#include <filesystem>

namespace sourcetype {

// Gives the file `to`, which its owner alone may use so far, the attributes of the file `from`: its
// owner and group as far as this account may, its permission bits or access list, and its extended
// attributes. Where it cannot have the group, the group has no rights. The rights come last, so
// that nobody gets them earlier. Both are open file descriptors; `from` is open for reading.
void copyFileAttributes(int from, int to, const std::filesystem::path& name);

// Gives the file, which its owner alone may use so far, the rights that any new file in
// `directory`, which it is in, gets: from the directory's default access list or, without one, from
// the umask. Does nothing where the file system has no rights to set.
void setNewFileRights(int file, const std::filesystem::path& directory);

// Lets every account that may write to `directory` open the lock file `file` in it, and no other.
// The file also gets the owner and group of the directory as far as this account may set them.
// Where an account that may write would be kept out nevertheless, all may read the file, which is
// enough to lock it. Does nothing where that fails.
void shareLockFile(int file, const std::filesystem::path& directory);

}  // namespace sourcetype

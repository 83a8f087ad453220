#include "platform/file_attributes_posix.h"

#include <acl/libacl.h>
#include <linux/limits.h>
#include <sys/acl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

#include "platform/descriptor_posix.h"
#include "platform/file_system.h"

namespace sourcetype {
namespace {

constexpr mode_t kPermissionBits = 0777;

struct FreeAccessList {
  void operator()(acl_t list) const { ::acl_free(list); }
};

// Null, with errno set, on failure.
using AccessList = std::unique_ptr<std::remove_pointer_t<acl_t>, FreeAccessList>;

// Owns a list from libacl. If the file system has no lists, makes the list of the file's permission
// bits.
AccessList listOrBits(acl_t list, const struct stat& file) {
  if (list == nullptr && errno == ENOTSUP) list = ::acl_from_mode(file.st_mode);
  return AccessList(list);
}

// Calls `visit(tag, rights)` for each entry of a list; `rights` may be changed.
template <class Visit>
void forEachEntry(const AccessList& list, const Visit& visit) {
  acl_entry_t entry = nullptr;
  for (int which = ACL_FIRST_ENTRY; ::acl_get_entry(list.get(), which, &entry) == 1;
       which = ACL_NEXT_ENTRY) {
    acl_tag_t tag = ACL_UNDEFINED_TAG;
    acl_permset_t rights = nullptr;
    ::acl_get_tag_type(entry, &tag);
    ::acl_get_permset(entry, &rights);
    visit(tag, rights);
  }
}

bool hasRight(acl_permset_t rights, acl_perm_t right) {
  return ::acl_get_perm(rights, right) == 1;
}

// Sets permission bits and access list in one step, since setting the bits alone would change the
// mask of the list. Returns false, with errno set, on failure.
bool setAccessList(int file, const AccessList& list) {
  if (::acl_set_fd(file, list.get()) == 0) return true;
  mode_t mode = 0;  // the list as bits, for a file system without lists
  return errno == ENOTSUP && ::acl_equiv_mode(list.get(), &mode) == 0 && ::fchmod(file, mode) == 0;
}

// Gives a file the owner and group of another file, or only the group if this account may not
// change the owner. Returns false if it may do neither.
bool giveToOwnerOf(const struct stat& other, int file) {
  constexpr auto kSameOwner = static_cast<uid_t>(-1);
  return ::fchown(file, other.st_uid, other.st_gid) == 0 ||
         ::fchown(file, kSameOwner, other.st_gid) == 0;
}

// --- Extended attributes ---

bool isSecurityAttribute(std::string_view attribute) {
  return attribute.starts_with("security.");
}

// True for attributes of users and for security labels. False for attributes that the system
// computes from the content or removes when it changes, and for trusted.* and system.*, which
// belong to the file system.
bool isKeptAttribute(std::string_view attribute) {
  constexpr std::array<std::string_view, 3> kOfContent{"security.capability", "security.evm",
                                                       "security.ima"};
  return attribute.starts_with("user.") ||
         (isSecurityAttribute(attribute) &&
          std::ranges::find(kOfContent, attribute) == kOfContent.end());
}

bool copyAttribute(int from, int to, const char* attribute) {
  std::array<char, XATTR_SIZE_MAX> value;  // NOLINT: filled by the next call
  const ssize_t size = ::fgetxattr(from, attribute, value.data(), value.size());
  if (size < 0) return errno == ENODATA;  // another process has removed it
  return ::fsetxattr(to, attribute, value.data(), static_cast<std::size_t>(size), 0) == 0;
}

// If this account may not set a security label, the file keeps the label of a new file.
void copyExtendedAttributes(int from, int to, const std::filesystem::path& name) {
  std::array<char, XATTR_LIST_MAX> names;  // NOLINT: filled by the next call
  const ssize_t size = ::flistxattr(from, names.data(), names.size());
  if (size < 0 && errno == ENOTSUP) return;  // the file system has no attributes
  if (size < 0) throwLastError("cannot list the extended attributes of", name);
  const char* const end = names.data() + size;
  for (const char *attribute = names.data(), *next = nullptr; attribute < end; attribute = next) {
    next = attribute + std::string_view(attribute).size() + 1;
    if (!isKeptAttribute(attribute) || copyAttribute(from, to, attribute)) continue;
    const bool isForbidden = errno == EPERM || errno == EACCES || errno == ENOTSUP;
    if (isSecurityAttribute(attribute) && isForbidden) continue;
    throwLastError("cannot keep the extended attribute " + std::string(attribute) + " of", name);
  }
}

// --- New files ---

// The umask of this process, as Linux reports it.
std::optional<mode_t> umaskOfStatus() {
  constexpr std::string_view kKey = "\nUmask:\t";
  constexpr int kOctal = 8;
  std::array<char, 4096> buffer{};  // the umask is in the second line
  const std::string_view status(buffer.data(), InputFile("/proc/self/status").read(buffer));
  const auto key = status.find(kKey);
  if (key == std::string_view::npos) return std::nullopt;
  const auto value = status.substr(key + kKey.size());
  mode_t mask = 0;
  if (std::from_chars(value.data(), value.data() + value.size(), mask, kOctal).ec != std::errc()) {
    return std::nullopt;
  }
  return mask;
}

// Other systems report the umask only when another one is set. A file that another thread creates
// in this moment can be used by its owner only.
mode_t umaskBySetting() {
  const mode_t mask = ::umask(static_cast<mode_t>(~kOwnerOnly) & kPermissionBits);
  ::umask(mask);
  return mask;
}

// Reads the umask once.
mode_t umaskOfProcess() {
  static const mode_t kMask = [] {
    const auto told = umaskOfStatus();
    return told ? *told : umaskBySetting();
  }();
  return kMask;
}

// The permission bits of a file with this list. The bits of the mask replace those of the group.
// Empty for a list without entries, which a directory without default list has.
std::optional<mode_t> modeOf(const AccessList& list) {
  std::optional<mode_t> owner;
  std::optional<mode_t> mask;
  mode_t group = 0;
  mode_t others = 0;
  forEachEntry(list, [&](acl_tag_t tag, acl_permset_t rights) {
    const mode_t bits = (hasRight(rights, ACL_READ) ? S_IROTH : 0U) |
                        (hasRight(rights, ACL_WRITE) ? S_IWOTH : 0U) |
                        (hasRight(rights, ACL_EXECUTE) ? S_IXOTH : 0U);
    if (tag == ACL_USER_OBJ) owner = bits;
    if (tag == ACL_GROUP_OBJ) group = bits;
    if (tag == ACL_MASK) mask = bits;
    if (tag == ACL_OTHER) others = bits;
  });
  if (!owner) return std::nullopt;
  return (*owner << 6U) | (mask.value_or(group) << 3U) | others;
}

// --- Lock files ---

// Whether a list allows the group of the file to write. Its mask may still forbid it.
bool letsGroupWrite(const AccessList& list) {
  bool letsWrite = false;
  forEachEntry(list, [&](acl_tag_t tag, acl_permset_t rights) {
    if (tag == ACL_GROUP_OBJ) letsWrite = hasRight(rights, ACL_WRITE);
  });
  return letsWrite;
}

// Turns the access list of a directory into that of a lock file in it, which may have another owner
// or group: the right to write to the directory becomes the right to read and write the file.
void makeLockFileList(const AccessList& list, const struct stat& directory,
                      const struct stat& file) {
  const bool hasGroup = file.st_gid == directory.st_gid;
  const bool groupWrites = letsGroupWrite(list);
  const bool letsOwnerIn = file.st_uid == directory.st_uid || (groupWrites && hasGroup);
  const bool letsWritersIn = letsOwnerIn && (hasGroup || !groupWrites);
  forEachEntry(list, [&](acl_tag_t tag, acl_permset_t rights) {
    const bool isOtherGroup = tag == ACL_GROUP_OBJ && !hasGroup;
    const bool mayWrite = tag == ACL_USER_OBJ || (hasRight(rights, ACL_WRITE) && !isOtherGroup);
    ::acl_clear_perms(rights);
    if (mayWrite) ::acl_add_perm(rights, ACL_WRITE);
    if (mayWrite || !letsWritersIn) ::acl_add_perm(rights, ACL_READ);
  });
}

}  // namespace

void copyFileAttributes(int from, int to, const std::filesystem::path& name) {
  struct stat status {};
  if (::fstat(from, &status) != 0) throwLastError("cannot examine", name);
  const AccessList list = listOrBits(::acl_get_fd(from), status);
  if (!list) throwLastError("cannot examine the access list of", name);
  if (!giveToOwnerOf(status, to)) {
    // The entry would apply to the group that the file has instead.
    forEachEntry(list, [](acl_tag_t tag, acl_permset_t rights) {
      if (tag == ACL_GROUP_OBJ) ::acl_clear_perms(rights);
    });
  }
  copyExtendedAttributes(from, to, name);  // needs the right to write, which the list may remove
  if (!setAccessList(to, list)) throwLastError("cannot keep the permissions of", name);
}

void setNewFileRights(int file, const std::filesystem::path& directory) {
  // The file has the named entries of the default list since its creation. Setting the bits sets
  // the mask, as creating the file with these bits would have done.
  const AccessList list(::acl_get_file(directory.c_str(), ACL_TYPE_DEFAULT));
  if (!list && errno != ENOTSUP)
    throwLastError("cannot find out the rights of new files in", directory);
  const auto mode = list ? modeOf(list) : std::nullopt;
  ::fchmod(file, kNewFileMode & (mode ? *mode : ~umaskOfProcess()));
}

void shareLockFile(int file, const std::filesystem::path& directory) {
  struct stat owner {};
  struct stat status {};
  if (::stat(directory.c_str(), &owner) != 0 || ::fstat(file, &status) != 0) return;
  if (status.st_uid != owner.st_uid || status.st_gid != owner.st_gid) {
    giveToOwnerOf(owner, file);
    ::fstat(file, &status);
  }
  const auto list = listOrBits(::acl_get_file(directory.c_str(), ACL_TYPE_ACCESS), owner);
  const auto current = listOrBits(::acl_get_fd(file), status);
  if (!list || !current) return;
  makeLockFileList(list, owner, status);
  if (::acl_cmp(current.get(), list.get()) != 0) setAccessList(file, list);
}

}  // namespace sourcetype

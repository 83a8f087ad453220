#include "conf/conf_storage.h"

#include <string>
#include <system_error>

#include "conf/conf_file.h"
#include "platform/path_form.h"

namespace sourcetype {
namespace {

using std::filesystem::path;

class DiskStorage final : public ConfStorage {
 public:
  FileBytes read(const path& file) override { return readConfFile(file); }
  FileIdentity identity(const path& file) override { return fileIdentity(file); }
  FileLock lock(const path& target, std::chrono::milliseconds maxHold) override {
    return {path(target) += ".lock", maxHold};
  }
  void removeLeftovers(const path& target) override { sourcetype::removeLeftovers(target); }
  void replace(const path& file, std::string_view content, const FileLock& lock) override {
    replaceFile(file, content, &lock);
  }
  void replaceLike(const path& model, const path& file, std::string_view content,
                   const FileLock& lock) override {
    replaceFile(file, content, model, &lock);
  }
  void append(const path& file, std::string_view content) override { appendToFile(file, content); }
  bool append(const path& file, const DecisiveText& text, const FileLock& lock) override {
    return appendToFile(file, text, lock);
  }
  void cut(const path& file, std::uint64_t size) override { cutFile(file, size); }
  void remove(const path& file) override {
    if (const auto error = removeFile(file)) {
      throw std::system_error(error, "cannot delete " + pathToText(file));
    }
  }
};

}  // namespace

ConfStorage& diskStorage() {
  static DiskStorage disk;
  return disk;
}

}  // namespace sourcetype

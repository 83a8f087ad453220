#include "platform/path_form.h"

namespace sourcetype {

PathForm nativePathForm() {
  return kPosixPathForm;
}

std::string pathToText(const std::filesystem::path& path) {
  return path.native();
}

std::filesystem::path pathFromText(std::string_view text) {
  return text;
}

}  // namespace sourcetype

#include "charset/table_converter.h"

#include <utility>

#include "util/utf8.h"

namespace sourcetype {
namespace {

// True when 01-7F are ASCII: then runs of them can be copied.
bool isAsciiBased(const ByteTexts& texts) {
  for (std::size_t byte = 1; byte < 0x80; ++byte) {
    if (texts[byte].size() != 1 || texts[byte][0] != static_cast<char>(byte)) return false;
  }
  return true;
}

}  // namespace

TableConverter::TableConverter(std::shared_ptr<const ByteTexts> texts)
    : texts_(std::move(texts)), isAsciiBased_(isAsciiBased(*texts_)) {}

void TableConverter::convert(std::string_view bytes, std::string& out) {
  std::size_t at = 0;
  while (at < bytes.size()) {
    if (isAsciiBased_) {
      const std::size_t ascii = asciiRunLength(bytes.substr(at));
      out.append(bytes, at, ascii);
      at += ascii;
    }
    for (; at < bytes.size() && (!isAsciiBased_ || byteAt(bytes, at) - 1U >= 0x7FU); ++at) {
      const std::string& text = (*texts_)[byteAt(bytes, at)];
      if (text.empty() || bytes[at] == '\0') {
        appendInvalid(bytes.substr(at, 1), out);
      } else {
        out += text;
      }
    }
  }
}

}  // namespace sourcetype

// Charsets in which one byte is one character.
#pragma once

#include <memory>

#include "charset/byte_texts.h"
#include "charset/charset_converter.h"

namespace sourcetype {

class TableConverter final : public CharsetConverter {
 public:
  explicit TableConverter(std::shared_ptr<const ByteTexts> texts);

  void convert(std::string_view bytes, std::string& out) override;
  void finish(std::string&) override {}

 private:
  std::shared_ptr<const ByteTexts> texts_;
  bool isAsciiBased_;
};

}  // namespace sourcetype

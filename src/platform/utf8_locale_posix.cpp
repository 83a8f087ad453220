#include "platform/utf8_locale.h"

#include <locale.h>  // NOLINT(modernize-deprecated-headers): <clocale> has no newlocale()

#include <bit>

namespace sourcetype {
namespace {

// Lives as long as the process.
locale_t utf8Locale() {
  static const locale_t locale = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  return locale;
}

}  // namespace

Utf8Locale::Utf8Locale() : before_(std::bit_cast<std::intptr_t>(::uselocale(utf8Locale()))) {}

Utf8Locale::~Utf8Locale() {
  ::uselocale(std::bit_cast<locale_t>(before_));
}

}  // namespace sourcetype

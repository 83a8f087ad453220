#include "platform/utf8_locale.h"

namespace sourcetype {

Utf8Locale::Utf8Locale() = default;

Utf8Locale::~Utf8Locale() = default;

}  // namespace sourcetype

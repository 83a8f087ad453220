#include "charset/piecewise_converter.h"

#include "util/utf8.h"

namespace sourcetype {

void PiecewiseConverter::convert(std::string_view bytes, std::string& out) {
  if (kept_.empty()) {
    kept_ = bytes.substr(decode(bytes, Input::MayGoOn, out));
  } else {
    kept_ += bytes;
    kept_.erase(0, decode(kept_, Input::MayGoOn, out));
  }
}

void PiecewiseConverter::finish(std::string& out) {
  decode(kept_, Input::Ends, out);
  kept_.clear();
}

void PiecewiseConverter::appendCharacter(char32_t c, std::string& out) {
  if (c == 0) {
    appendInvalid(std::string_view("\0", 1), out);
  } else {
    appendUtf8(c, out);
  }
}

}  // namespace sourcetype

#include "charset/iconv_stream.h"

#include <iconv.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>

namespace sourcetype {
namespace {

constexpr auto kError = static_cast<std::size_t>(-1);

}  // namespace

std::optional<IconvStream> IconvStream::open(const std::string& charset) {
  void* const descriptor = iconv_open("UTF-8", charset.c_str());
  // NOLINTNEXTLINE(performance-no-int-to-ptr): this is how POSIX spells the failure
  if (descriptor == reinterpret_cast<iconv_t>(static_cast<std::intptr_t>(-1))) return std::nullopt;
  return IconvStream(descriptor);
}

IconvStream::Stop IconvStream::convert(std::string_view& bytes, std::string& out) {
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast): iconv reads through a char**
  char* in = const_cast<char*>(bytes.data());
  std::size_t inLeft = bytes.size();
  while (true) {
    std::array<char, 8192> buffer;
    char* to = buffer.data();
    std::size_t toLeft = buffer.size();
    const std::size_t result = iconv(descriptor_.get(), &in, &inLeft, &to, &toLeft);
    const int error = result == kError ? errno : 0;
    out.append(buffer.data(), buffer.size() - toLeft);
    if (error == E2BIG) continue;
    bytes.remove_prefix(bytes.size() - inLeft);
    if (error == 0) return Stop::End;
    return error == EINVAL ? Stop::Unfinished : Stop::Invalid;
  }
}

void IconvStream::flush(std::string& out) {
  std::array<char, 64> buffer;
  char* to = buffer.data();
  std::size_t toLeft = buffer.size();
  iconv(descriptor_.get(), nullptr, nullptr, &to, &toLeft);
  out.append(buffer.data(), buffer.size() - toLeft);
}

void IconvStream::Close::operator()(void* descriptor) const {
  iconv_close(descriptor);
}

}  // namespace sourcetype

// Owns texts that views refer to.
//
//   std::string_view name = keeper.keep(unescape(raw));  // valid as long as `keeper`
#pragma once

#include <deque>
#include <string>
#include <string_view>
#include <utility>

namespace sourcetype {

// Keeps texts that differ from the bytes of their file, such as a continued value or an unescaped
// key. A view of a kept text stays valid as long as the keeper, also after the keeper was moved.
class TextKeeper {
 public:
  std::string_view keep(std::string text) { return texts_.emplace_back(std::move(text)); }

 private:
  std::deque<std::string> texts_;
};

}  // namespace sourcetype

// Owns texts that views refer to.
#pragma once

#include <deque>
#include <string>
#include <string_view>
#include <utility>

namespace sourcetype {

// Keeps the texts that do not stand in a file as they read (a continued value, an unescaped key).
// A view of a kept text lives as long as the keeper, also after the keeper was moved.
class TextKeeper {
 public:
  std::string_view keep(std::string text) { return texts_.emplace_back(std::move(text)); }

 private:
  std::deque<std::string> texts_;
};

}  // namespace sourcetype

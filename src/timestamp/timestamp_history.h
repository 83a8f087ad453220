// What the timestamps of the lines before say of the next one.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace sourcetype {

class TimestampHistory {
 public:
  using FormIndex = std::uint16_t;

  // `maxAgo`, `maxHence`: how far a timestamp may be before or after the one before it.
  TimestampHistory(std::size_t forms, std::chrono::seconds maxAgo, std::chrono::seconds maxHence)
      : maxAgo_(maxAgo), maxHence_(maxHence), timesSeen_(forms) {}

  std::optional<std::chrono::sys_seconds> previous() const { return previous_; }
  std::optional<FormIndex> lastForm() const { return lastForm_; }

  void beginLine() { hasCountedRefusal_ = false; }

  // Whether a timestamp is close enough to the one before, or has the form that was seen most
  // often. A form that is refused counts as seen, once a line: where the first line of a file was
  // odd, the form of the others is soon that of the majority.
  bool accept(FormIndex form, std::chrono::sys_seconds time);

  // The timestamp that the line has.
  void add(FormIndex form, std::chrono::sys_seconds time);

 private:
  void count(FormIndex form);

  std::chrono::seconds maxAgo_;
  std::chrono::seconds maxHence_;
  std::optional<std::chrono::sys_seconds> previous_;
  std::optional<FormIndex> lastForm_;
  std::vector<std::uint32_t> timesSeen_;  // by form
  std::uint32_t maxTimesSeen_ = 0;
  bool hasCountedRefusal_ = false;  // of this line
};

}  // namespace sourcetype

// Decides by the timestamps of earlier lines whether the next one is plausible.
//
//   history.beginLine();
//   if (history.accept(form, time)) history.add(form, time);
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

  // A timestamp may be up to `maxAgo` before the previous one, and up to `maxHence` after it.
  TimestampHistory(std::size_t forms, std::chrono::seconds maxAgo, std::chrono::seconds maxHence)
      : maxAgo_(maxAgo), maxHence_(maxHence), timesSeen_(forms) {}

  std::optional<std::chrono::sys_seconds> previous() const { return previous_; }
  std::optional<FormIndex> lastForm() const { return lastForm_; }

  void beginLine() { hasCountedRefusal_ = false; }

  // Whether a timestamp is close enough to the previous one, or has the form that was seen most
  // often. A refused form counts as seen, once for each line. So if only the first line of a file
  // is unusual, the form of the other lines soon has the majority.
  bool accept(FormIndex form, std::chrono::sys_seconds time);

  // Adds the timestamp of the line.
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

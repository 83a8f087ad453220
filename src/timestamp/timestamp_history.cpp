#include "timestamp/timestamp_history.h"

#include <algorithm>
#include <utility>

namespace sourcetype {

bool TimestampHistory::accept(FormIndex form, std::chrono::sys_seconds time) {
  if (!previous_) return true;
  const std::chrono::seconds since = time - *previous_;
  if (-maxAgo_ <= since && since <= maxHence_) return true;
  if (timesSeen_[form] > 0 && timesSeen_[form] == maxTimesSeen_) return true;
  if (!std::exchange(hasCountedRefusal_, true)) count(form);
  return false;
}

void TimestampHistory::add(FormIndex form, std::chrono::sys_seconds time) {
  count(form);
  lastForm_ = form;
  previous_ = time;
}

void TimestampHistory::count(FormIndex form) {
  maxTimesSeen_ = std::max(maxTimesSeen_, ++timesSeen_[form]);
}

}  // namespace sourcetype

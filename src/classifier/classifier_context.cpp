#include "classifier/classifier_context.h"

#include "timestamp/datetime_file.h"

namespace sourcetype {

ClassifierContext::ClassifierContext(ConfStore& store)
    : store_(store), settings_(store), rules_(store), models_(store, settings_) {}

const TimestampFormats& ClassifierContext::timestampFormats() {
  if (!timestampFormats_) {
    timestampFormats_ = readDatetimeFile(store_.root() / "datetime.xml");
  }
  return *timestampFormats_;
}

}  // namespace sourcetype

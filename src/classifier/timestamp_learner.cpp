#include "classifier/timestamp_learner.h"

namespace sourcetype {

void learnTimestampSettings(std::string_view /*sourcetype*/, const Sample& /*sample*/,
                            PropertiesMap& /*settings*/) {}

}  // namespace sourcetype

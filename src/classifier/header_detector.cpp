#include "classifier/header_detector.h"

namespace sourcetype {

void detectHeader(std::string_view /*fileName*/, const Sample& /*sample*/,
                  PropertiesMap& /*result*/, ConfStore& /*store*/, HeaderLimits /*limits*/) {}

}  // namespace sourcetype

// Header lines of delimited files.
#pragma once

#include <cstddef>
#include <string_view>

#include "classifier/sampling/sample.h"
#include "conf/conf_store.h"
#include "conf/properties_map.h"

namespace sourcetype {

struct HeaderLimits {
  std::size_t maxLines = 1000;
  double threshold = 0.5;  // score that the delimiter has to pass
};

// Looks for a line that names the columns. When there is one, a transform that extracts them is
// written and linked to the file's sourcetype, which `result` then holds. This version finds none.
void detectHeader(std::string_view fileName, const Sample& sample, PropertiesMap& result,
                  ConfStore& store, HeaderLimits limits = {});

}  // namespace sourcetype

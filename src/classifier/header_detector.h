// Header lines of delimited files.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "classifier/header_linker.h"
#include "classifier/sample.h"
#include "conf/conf_store.h"
#include "conf/properties_map.h"

namespace sourcetype {

// The characters that may stand between columns; of equally good ones the first is taken.
inline constexpr std::array kDelimiters{',', ';', '\t'};

// How often each occurs in a line outside quotes.
using DelimiterCounts = std::array<std::size_t, kDelimiters.size()>;
DelimiterCounts countDelimiters(std::string_view line, const decltype(kDelimiters)& delimiters,
                                char quote);

struct HeaderLimits {
  std::size_t maxLines = 1000;  // that are counted; blank ones are not
  double threshold = 0.5;       // score that the delimiter has to pass
};

// Looks for a line that names the columns: the first of ten lines that has as many delimiters as
// most lines have. When there is one, a transform that extracts the columns is linked to the
// sourcetype of `result`, which may be another one then; applyHeaderTransform() says more, also of
// `made` and what is returned. Without a sourcetype nothing is done.
bool detectHeader(std::string_view fileName, const Sample& sample, PropertiesMap& result,
                  ConfStore& store, const NewSourcetype* made = nullptr, HeaderLimits limits = {});

}  // namespace sourcetype

// Finds the header line of a delimited file and stores its columns.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "classifier/flow_observer.h"
#include "classifier/header_linker.h"
#include "classifier/sample.h"
#include "conf/conf_store.h"
#include "conf/properties_map.h"

namespace sourcetype {

// The characters that may separate columns. Among delimiters of equal score the first is chosen.
inline constexpr std::array kDelimiters{',', ';', '\t'};

// Returns how often each delimiter occurs in a line outside quotes.
using DelimiterCounts = std::array<std::size_t, kDelimiters.size()>;
DelimiterCounts countDelimiters(std::string_view line, const decltype(kDelimiters)& delimiters,
                                char quote);

// How the header line is found.
enum class HeaderTest {
  Delimiters,  // the first of ten non-blank lines with at least as many delimiters as most lines
  Names,       // a line whose cells differ from those below it, as names differ from values
};

struct HeaderLimits {
  std::size_t maxLines = 1000;  // lines that are examined; blank lines do not count
  double threshold = 0.5;       // the score of the delimiter must be greater
};

// Looks for the line that names the columns. If there is one, links a transform that extracts the
// columns to the sourcetype of `result`, which may change the sourcetype. `newSourcetype` is as
// for applyHeaderTransform(), whose result is returned. Returns false when there is no header line.
// Does nothing without a sourcetype. The threshold is for HeaderTest::Delimiters. `observer`, unless
// it is null, is told how the delimiters were rated.
bool detectHeader(std::string_view fileName, const Sample& sample, PropertiesMap& result,
                  ConfStore& store, const NewSourcetype* newSourcetype = nullptr,
                  HeaderTest test = HeaderTest::Delimiters, HeaderLimits limits = {},
                  FlowObserver* observer = nullptr);

}  // namespace sourcetype

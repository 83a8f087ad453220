// Decides whether a record of a table names the columns of the records after it.
#pragma once

#include <span>

#include "classifier/tables/table_records.h"

namespace sourcetype {

// Rates how likely `header` names the columns of `rows`: the logarithm of a ratio, 0 when a header
// and one more row are equally likely.
//
// A name is not a number, date or address, except as a part of an axis (2010, 2011 ...). It occurs
// once, and its column does not have it as a value. It differs from the values in kind, form or
// length. A row that contains parts of a message is not a header.
double rateHeader(const TableRecord& header, std::span<const TableRecord> rows);

}  // namespace sourcetype

// Columns whose names are values: the years, dates or numbers of an axis.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "classifier/tables/table_records.h"

namespace sourcetype {

// Returns the columns of an axis in ascending order: the cells of `header` that are values, if they
// are years (2010, 2011), different dates, or 0 1 2 ... Returns nothing when a row after the header
// has such an axis in these columns, too: then they are values of the table.
std::vector<std::size_t> findAxis(const TableRecord& header,
                                  std::span<const TableRecord* const> rows);

}  // namespace sourcetype

#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/export.h"

namespace ui {

class TableModel;

namespace table_write {

// The rows and columns asked for, with a line of titles above them if wanted: fields parted by the
// separator, lines joined by line feeds. A field that holds the separator, a quote, a line feed or
// a CR is quoted; so is an empty one that is a last line by itself, which would not be read again.
TAV_HOST_API std::string Delimited(const TableModel& table, const std::vector<std::uint32_t>& rows,
                                   const std::vector<std::uint32_t>& columns, bool titles,
                                   char separator);

// A page that holds the table: heading, subtitle, titles, rows.
TAV_HOST_API std::string Html(const TableModel& table, const std::vector<std::uint32_t>& rows,
                              const std::vector<std::uint32_t>& columns,
                              std::string_view pageTitle);

}  // namespace table_write

}  // namespace ui

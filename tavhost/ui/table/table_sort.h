#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace ui {

class TableModel;

namespace table_sort {

// The number that a field holds, blanks around it aside: digits with a sign, a decimal point and an
// exponent, or some of these.
std::optional<double> NumberOf(std::string_view field);

// The table's rows ordered by a column. Numbers come first, by their values; then texts, ASCII
// letters without regard to case; equal ones keep their order. Descending turns numbers and texts
// round. Empty fields come last either way.
std::vector<std::uint32_t> SortedRows(const TableModel& table, std::uint32_t column,
                                      bool descending);

}  // namespace table_sort

}  // namespace ui

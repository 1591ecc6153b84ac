#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace ui {

class TableModel;

namespace table_search {

// Whether the text holds the piece, ASCII letters without regard to case.
bool Contains(std::string_view text, std::string_view piece);

// For each row whether one of its fields holds the piece. The text of a table that has not been
// changed is looked through as a whole.
std::vector<bool> MatchingRows(const TableModel& table, std::string_view piece);

}  // namespace table_search

}  // namespace ui

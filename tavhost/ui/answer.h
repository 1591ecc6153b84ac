#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tavhost/base/result.h"

namespace ui {

// One element of an answers file. What it does not say is absent.
struct Answer {
  // What is done to a table, in this order; rows and columns count from 1, without titles and
  // handles.
  struct Cell {
    enum class Kind { kCell, kInsertRow, kDeleteRow, kSortRows };
    std::int32_t row = 0;
    std::int32_t column = 0;
    std::string text;
    Kind kind = Kind::kCell;
    bool descending = false;
  };

  std::string element;  // MESSAGE_BOX, LIST_BOX …
  std::uint32_t line = 0;
  std::optional<std::string> title;
  std::optional<std::string> button;
  std::optional<std::int32_t> result;
  std::optional<std::string> text;
  std::optional<std::vector<std::string>> select;  // numbers as their digits
  std::optional<std::vector<std::string>> deselect;
  std::optional<std::vector<std::string>> check;
  std::optional<std::vector<std::string>> uncheck;
  std::optional<std::vector<std::string>> path;
  std::vector<Cell> cells;
  std::optional<std::int32_t> after;
};

inline constexpr std::string_view kCancelProgress = "CANCEL_PROGRESS";

// Reads the text of an answers file. It fails, with the place, when it is no KEL or names a window
// or parameter that there is not.
base::Result<std::vector<Answer>> ParseAnswers(const std::string& file, std::string_view text);

// What is wrong with an answer whatever window it is given to: it says what nobody could do.
base::Result<void> CheckAnswer(const Answer& answer);

// The name of what is done to a table, as DELETE_ROW.
std::string_view NameOf(Answer::Cell::Kind kind);

// The line of an answers file for an answer.
std::string AnswerLine(const Answer& answer);

}  // namespace ui

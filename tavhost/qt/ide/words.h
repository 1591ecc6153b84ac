#pragma once

#include <QString>
#include <utility>

// Words of a line of script. Names of commands and parameters may hold `-` inside.
namespace ui::ide_view {

// Where the word around `at` begins and ends; both the same when there is none.
std::pair<int, int> WordAround(const QString& line, int at);

// What of a word stands in front of `at`, a `-` at its end included: more of it may be typed.
QString WordBefore(const QString& line, int at);

}  // namespace ui::ide_view

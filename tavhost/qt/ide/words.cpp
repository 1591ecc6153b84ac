#include "tavhost/qt/ide/words.h"

namespace ui::ide_view {

namespace {

bool IsWordPart(QChar c) {
  return (c.unicode() < 0x80 && c.isLetterOrNumber()) || c == QLatin1Char('_');
}

}  // namespace

std::pair<int, int> WordAround(const QString& line, int at) {
  const auto isPart = [&line](int i) {
    if (i < 0 || i >= line.size()) return false;
    if (IsWordPart(line[i])) return true;
    return line[i] == QLatin1Char('-') && i > 0 && IsWordPart(line[i - 1]) && i + 1 < line.size() &&
           IsWordPart(line[i + 1]);
  };
  int begin = at;
  int end = at;
  while (isPart(begin - 1)) --begin;
  while (isPart(end)) ++end;
  return {begin, end};
}

QString WordBefore(const QString& line, int at) {
  int begin = at;
  while (begin > 0 && (IsWordPart(line[begin - 1]) || line[begin - 1] == QLatin1Char('-'))) --begin;
  return line.mid(begin, at - begin);
}

}  // namespace ui::ide_view

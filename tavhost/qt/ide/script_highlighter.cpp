#include "tavhost/qt/ide/script_highlighter.h"

#include <utility>

#include "tavhost/qt/ide/theme.h"
#include "tavhost/qt/ide/utf16.h"

namespace ui::ide_view {

using ide::TokenKind;

ScriptHighlighter::ScriptHighlighter(QTextDocument* document,
                                     std::function<bool(QStringView)> isCommand)
    : QSyntaxHighlighter(document), isCommand_(std::move(isCommand)) {}

void ScriptHighlighter::SetPalette(const QPalette& palette) {
  palette_ = palette;
  rehighlight();
}

QTextCharFormat ScriptHighlighter::FormatOf(TokenKind kind, QStringView word) const {
  const Colours& colours = ColoursFor(palette_);
  QTextCharFormat format;
  const auto colour = [&format](const QColor& to) { format.setForeground(to); };
  switch (kind) {
    case TokenKind::kComment:
      colour(colours.comment);
      format.setFontItalic(true);
      break;
    case TokenKind::kString:
      colour(colours.string);
      break;
    case TokenKind::kNumber:
      colour(colours.number);
      break;
    case TokenKind::kKeyword:
      colour(colours.keyword);
      format.setFontWeight(QFont::Bold);
      break;
    case TokenKind::kCommand:
      colour(colours.command);
      if (isCommand_(word)) format.setFontWeight(QFont::Bold);
      break;
    case TokenKind::kFunction:
      colour(colours.function);
      break;
    case TokenKind::kParameter:
      colour(colours.parameter);
      break;
    case TokenKind::kModifier:
      colour(colours.modifier);
      break;
    case TokenKind::kVariable:
    case TokenKind::kBracket:
      break;
  }
  return format;
}

void ScriptHighlighter::highlightBlock(const QString& text) {
  tokens_.clear();
  const int before = previousBlockState();
  setCurrentBlockState(ide::TokenizeLine(Utf16(text), before < 0 ? 0 : before, tokens_));
  for (const ide::Token& token : tokens_) {
    if (token.kind == TokenKind::kVariable || token.kind == TokenKind::kBracket) continue;
    const auto begin = static_cast<int>(token.begin);
    const auto length = static_cast<int>(token.length);
    setFormat(begin, length, FormatOf(token.kind, QStringView(text).mid(begin, length)));
  }
}

}  // namespace ui::ide_view

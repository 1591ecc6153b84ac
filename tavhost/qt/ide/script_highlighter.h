#pragma once

#include <QPalette>
#include <QSyntaxHighlighter>
#include <functional>
#include <vector>

#include "tavhost/ide/script_tokens.h"

namespace ui::ide_view {

// Colours TavScript. Commands that the host knows stand out from words that look like one.
class ScriptHighlighter final : public QSyntaxHighlighter {
 public:
  ScriptHighlighter(QTextDocument* document, std::function<bool(QStringView)> isCommand);

  // Follows the palette of the view; paints all anew.
  void SetPalette(const QPalette& palette);

 protected:
  void highlightBlock(const QString& text) override;

 private:
  QTextCharFormat FormatOf(ide::TokenKind kind, QStringView word) const;

  std::function<bool(QStringView)> isCommand_;
  QPalette palette_;
  std::vector<ide::Token> tokens_;
};

}  // namespace ui::ide_view

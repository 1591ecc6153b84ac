#include "tavhost/qt/text_direction.h"

#include <QLocale>
#include <QTextDocument>
#include <QTextOption>
#include <algorithm>

namespace ui {

namespace {

constexpr qsizetype kMostLookedAt = 1000;  // characters, of a text that begins with none of words
constexpr char16_t kFirstStrongIsolate = 0x2068;
constexpr char16_t kPopIsolate = 0x2069;

std::optional<Qt::LayoutDirection> DirectionOf(QChar::Direction direction) {
  switch (direction) {
    case QChar::DirL:
      return Qt::LeftToRight;
    case QChar::DirR:
    case QChar::DirAL:
      return Qt::RightToLeft;
    default:
      return std::nullopt;
  }
}

std::optional<Qt::LayoutDirection> BeginsWith(const QTextDocument& document) {
  for (int i = 0; i < std::min<int>(document.characterCount(), kMostLookedAt); ++i) {
    if (const auto direction = DirectionOf(document.characterAt(i).direction())) return direction;
  }
  return std::nullopt;
}

}  // namespace

Qt::LayoutDirection DirectionOfDesktop(const QStringList& languages) {
  for (const QString& language : languages) {
    const QLocale locale(language);
    if (locale.language() != QLocale::C) return locale.textDirection();
  }
  return Qt::LeftToRight;
}

std::optional<Qt::LayoutDirection> DirectionOf(const QString& text) {
  const qsizetype end = std::min(text.size(), kMostLookedAt);
  for (qsizetype i = 0; i < end; ++i) {
    char32_t letter = text[i].unicode();
    if (text[i].isHighSurrogate() && i + 1 < end && text[i + 1].isLowSurrogate()) {
      letter = QChar::surrogateToUcs4(text[i], text[i + 1]);
      ++i;
    }
    if (const auto direction = DirectionOf(QChar::direction(letter))) return direction;
  }
  return std::nullopt;
}

QString InOwnDirection(const QString& text, Qt::LayoutDirection window) {
  if (const auto own = DirectionOf(text); !own || *own == window) return text;
  return QChar(kFirstStrongIsolate) + text + QChar(kPopIsolate);
}

void StandInOwnDirection(QPlainTextEdit& edit) {
  const auto stand = [&edit] {
    if (edit.lineWrapMode() == QPlainTextEdit::NoWrap) return;  // lines have no other side
    QTextDocument& document = *edit.document();
    const Qt::Alignment side =
        BeginsWith(document).value_or(edit.layoutDirection()) == Qt::RightToLeft ? Qt::AlignRight
                                                                                 : Qt::AlignLeft;
    QTextOption option = document.defaultTextOption();
    if (option.alignment() == side) return;
    option.setAlignment(side);
    document.setDefaultTextOption(option);
  };
  stand();
  QObject::connect(&edit, &QPlainTextEdit::textChanged, &edit, stand);
}

}  // namespace ui

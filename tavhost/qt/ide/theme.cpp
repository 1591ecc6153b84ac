#include "tavhost/qt/ide/theme.h"

#include <QApplication>
#include <QStyle>
#include <optional>

#include "tavhost/qt/readable_palette.h"
#include "tavhost/qt/style.h"

namespace ui::ide_view {

namespace {

QPalette Palette(bool dark) {
  const QColor window = dark ? QColor(0x36, 0x38, 0x3c) : QColor(0xf3, 0xf4, 0xf6);
  const QColor text = dark ? QColor(0xdf, 0xe1, 0xe5) : QColor(0x1f, 0x23, 0x28);
  const QColor faint = dark ? QColor(0x7d, 0x82, 0x8a) : QColor(0x8a, 0x90, 0x99);
  QPalette palette(dark ? QColor(0x46, 0x49, 0x4f) : QColor(0xe9, 0xeb, 0xee), window);
  palette.setColor(QPalette::WindowText, text);
  palette.setColor(QPalette::Base, dark ? QColor(0x1e, 0x1f, 0x22) : QColor(0xff, 0xff, 0xff));
  palette.setColor(QPalette::AlternateBase,
                   dark ? QColor(0x26, 0x28, 0x2b) : QColor(0xf7, 0xf8, 0xfa));
  palette.setColor(QPalette::Text, text);
  palette.setColor(QPalette::ButtonText, text);
  palette.setColor(QPalette::PlaceholderText, faint);
  palette.setColor(QPalette::ToolTipBase,
                   dark ? QColor(0x3c, 0x3f, 0x44) : QColor(0xff, 0xfd, 0xe7));
  palette.setColor(QPalette::ToolTipText, text);
  palette.setColor(QPalette::Highlight, dark ? QColor(0x2e, 0x5c, 0x9a) : QColor(0x2f, 0x6f, 0xc4));
  palette.setColor(QPalette::HighlightedText, QColor(0xff, 0xff, 0xff));
  palette.setColor(QPalette::Link, dark ? QColor(0x6c, 0xae, 0xf5) : QColor(0x0b, 0x57, 0xb0));
  palette.setColor(QPalette::BrightText, QColor(0xff, 0x5c, 0x5c));
  for (const QPalette::ColorRole role :
       {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    palette.setColor(QPalette::Disabled, role, faint);
  }
  MakeReadable(palette);
  return palette;
}

struct SystemLook {
  QPalette palette;
  QString style;
};

const SystemLook& System() {
  static const SystemLook look{QApplication::palette(), QApplication::style()->objectName()};
  return look;
}

}  // namespace

QString NameOf(Theme theme) {
  return theme == Theme::kLight  ? QStringLiteral("light")
         : theme == Theme::kDark ? QStringLiteral("dark")
                                 : QStringLiteral("system");
}

Theme ThemeOf(const QString& name) {
  return name == QLatin1String("light")  ? Theme::kLight
         : name == QLatin1String("dark") ? Theme::kDark
                                         : Theme::kSystem;
}

void Apply(Theme theme) {
  const SystemLook& system = System();
  static Theme current = Theme::kSystem;
  if (theme == current) return;
  current = theme;
  if (theme == Theme::kSystem) {
    QApplication::setStyle(MakeStyle(system.style));
    QApplication::setPalette(system.palette);
    return;
  }
  // The one style that follows a palette everywhere.
  QApplication::setStyle(MakeStyle(QStringLiteral("fusion")));
  QApplication::setPalette(Palette(theme == Theme::kDark));
}

bool IsDark(const QPalette& palette) {
  return palette.color(QPalette::Base).lightness() < palette.color(QPalette::Text).lightness();
}

const Colours& ColoursFor(const QPalette& palette) {
  static const Colours kLight{.comment = QColor(0x6a, 0x73, 0x7d),
                              .string = QColor(0x0a, 0x6b, 0x3d),
                              .number = QColor(0x8a, 0x4b, 0x00),
                              .keyword = QColor(0xa6, 0x26, 0x7f),
                              .command = QColor(0x0b, 0x57, 0xb0),
                              .function = QColor(0x5b, 0x3c, 0xa8),
                              .parameter = QColor(0x8f, 0x3b, 0x1b),
                              .modifier = QColor(0x00, 0x69, 0x75),
                              .currentLine = QColor(0xf0, 0xf4, 0xfa),
                              .bracket = QColor(0xc9, 0xdf, 0xf7),
                              .found = QColor(0xff, 0xe7, 0x8a),
                              .error = QColor(0xd1, 0x24, 0x2f),
                              .errorLine = QColor(0xff, 0xe3, 0xe3),
                              .hint = QColor(0xb5, 0x7a, 0x00),
                              .stepLine = QColor(0xff, 0xf3, 0xc4),
                              .lineNumber = QColor(0x8a, 0x90, 0x99),
                              .margin = QColor(0xf7, 0xf8, 0xfa),
                              .notice = QColor(0xff, 0xf3, 0xcd),
                              .link = QColor(0x0b, 0x57, 0xb0),
                              .faint = QColor(0x6a, 0x73, 0x7d)};
  static const Colours kDark{.comment = QColor(0x8b, 0x94, 0x9e),
                             .string = QColor(0x8f, 0xd1, 0x9e),
                             .number = QColor(0xe6, 0xb4, 0x70),
                             .keyword = QColor(0xe0, 0x8a, 0xc8),
                             .command = QColor(0x79, 0xb8, 0xff),
                             .function = QColor(0xc3, 0xa6, 0xff),
                             .parameter = QColor(0xf0, 0xa3, 0x7e),
                             .modifier = QColor(0x7f, 0xd0, 0xd9),
                             .currentLine = QColor(0x27, 0x2a, 0x2f),
                             .bracket = QColor(0x3d, 0x55, 0x75),
                             .found = QColor(0x5c, 0x50, 0x1c),
                             .error = QColor(0xff, 0x7b, 0x72),
                             .errorLine = QColor(0x4a, 0x25, 0x28),
                             .hint = QColor(0xe0, 0xb2, 0x52),
                             .stepLine = QColor(0x4a, 0x42, 0x1c),
                             .lineNumber = QColor(0x6e, 0x75, 0x7d),
                             .margin = QColor(0x23, 0x25, 0x28),
                             .notice = QColor(0x4a, 0x42, 0x1c),
                             .link = QColor(0x6c, 0xae, 0xf5),
                             .faint = QColor(0x8b, 0x94, 0x9e)};
  return IsDark(palette) ? kDark : kLight;
}

}  // namespace ui::ide_view

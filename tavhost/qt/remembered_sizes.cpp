#include "tavhost/qt/remembered_sizes.h"

#include <QGuiApplication>
#include <QScreen>
#include <QSettings>

namespace ui::remembered_sizes {

namespace {

QSettings Settings() {
  return QSettings(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("tavhost"),
                   QStringLiteral("windows"));
}

QString Key(const QString& kind) { return QStringLiteral("sizes/") + kind; }

// A dialog larger than all screens would cost the memory of its pixels. Only a settings file that
// was damaged has such a size.
QSize LargestSize() {
  constexpr QSize kAlways(4096, 4096);
  return QGuiApplication::primaryScreen()->virtualSize().expandedTo(kAlways);
}

}  // namespace

std::optional<QSize> Find(const QString& kind) {
  const QSize size = Settings().value(Key(kind)).toSize();
  const bool isSize = !size.isEmpty() && size.boundedTo(LargestSize()) == size;
  return isSize ? std::optional(size) : std::nullopt;
}

void Keep(const QString& kind, const QSize& size) { Settings().setValue(Key(kind), size); }

}  // namespace ui::remembered_sizes

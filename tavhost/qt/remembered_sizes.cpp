#include "tavhost/qt/remembered_sizes.h"

#include <QGuiApplication>
#include <QScreen>

#include "tavhost/qt/window_settings.h"

namespace ui::remembered_sizes {

namespace {

QString Key(const QString& kind) { return QStringLiteral("sizes/") + kind; }

// A dialog larger than all screens would cost the memory of its pixels. Only a settings file that
// was damaged has such a size.
QSize LargestSize() {
  constexpr QSize kAlways(4096, 4096);
  return QGuiApplication::primaryScreen()->virtualSize().expandedTo(kAlways);
}

}  // namespace

std::optional<QSize> Find(const QString& kind) {
  const std::unique_ptr<QSettings> settings = WindowSettings();
  const QSize size = settings ? settings->value(Key(kind)).toSize() : QSize();
  const bool isSize = !size.isEmpty() && size.boundedTo(LargestSize()) == size;
  return isSize ? std::optional(size) : std::nullopt;
}

void Keep(const QString& kind, const QSize& size) {
  if (const std::unique_ptr<QSettings> settings = WindowSettings()) {
    settings->setValue(Key(kind), size);
  }
}

}  // namespace ui::remembered_sizes

#include "tavhost/qt/remembered_sizes.h"

#include <QSettings>

namespace ui::remembered_sizes {

namespace {

QSettings Settings() {
  return QSettings(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("tavhost"),
                   QStringLiteral("windows"));
}

QString Key(const QString& kind) { return QStringLiteral("sizes/") + kind; }

}  // namespace

std::optional<QSize> Find(const QString& kind) {
  const QSize size = Settings().value(Key(kind)).toSize();
  return size.isEmpty() ? std::nullopt : std::optional(size);
}

void Keep(const QString& kind, const QSize& size) { Settings().setValue(Key(kind), size); }

}  // namespace ui::remembered_sizes

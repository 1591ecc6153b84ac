#include <QDBusConnection>
#include <QFileInfo>
#include <QGuiApplication>

#include "tavhost/qt/native_file_dialog.h"
#include "tavhost/qt/portal_dialog_posix.h"

namespace ui {

namespace {

// Where none is, the library would start one.
bool HasSessionBus() {
  return !qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS") ||
         QFileInfo::exists(qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/bus"));
}

bool IsOnDesktop() {
  const QString platform = QGuiApplication::platformName();
  return platform == QLatin1String("xcb") || platform.startsWith(QLatin1String("wayland"));
}

}  // namespace

std::unique_ptr<NativeFileDialog> MakeNativeFileDialog(QWidget* above) {
  if (!WantsNativeFileDialogs() || !IsOnDesktop() || !HasSessionBus()) return nullptr;
  const QDBusConnection bus = QDBusConnection::sessionBus();
  if (!bus.isConnected()) return nullptr;
  return std::make_unique<PortalDialog>(bus, above);
}

}  // namespace ui

#include "tavhost/qt/accessible_roles.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <optional>

#include "tavhost/qt/drawing_view.h"
#include "tavhost/qt/message_icon.h"
#include "tavhost/qt/message_window_view.h"
#include "tavhost/qt/percentage_window_view.h"

namespace ui {

namespace {

std::optional<QAccessible::Role> RoleOf(const QObject& object) {
  if (dynamic_cast<const PercentageWindowView*>(&object)) return QAccessible::Dialog;
  // Read out when it comes up, though it does not take the keyboard.
  if (dynamic_cast<const MessageWindowView*>(&object)) return QAccessible::AlertMessage;
  if (dynamic_cast<const MessageIcon*>(&object)) return QAccessible::Graphic;
  if (dynamic_cast<const DrawingView*>(&object)) return QAccessible::Graphic;
  return std::nullopt;
}

QAccessibleInterface* Make(const QString&, QObject* object) {
  const auto role = object ? RoleOf(*object) : std::nullopt;
  return role ? new QAccessibleWidget(static_cast<QWidget*>(object), *role) : nullptr;
}

}  // namespace

void InstallAccessibleRoles() { QAccessible::installFactory(&Make); }

}  // namespace ui

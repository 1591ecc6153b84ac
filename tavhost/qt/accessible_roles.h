#pragma once

namespace ui {

// What screen readers are told of windows and widgets that Qt itself knows only as areas: that one
// is a dialog, a message, a picture. For all that are made from now on.
void InstallAccessibleRoles();

}  // namespace ui

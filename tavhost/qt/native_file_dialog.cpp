#include "tavhost/qt/native_file_dialog.h"

namespace ui {

bool WantsNativeFileDialogs() {
  return qEnvironmentVariable("TAVHOST_FILE_DIALOGS") != QLatin1String("own");
}

}  // namespace ui

#include "host/system/clipboard.h"

#include "host/base/string.h"
#include "tavhost/base/dry_run.h"
#include "tavhost/base/trace.h"
#include "tavhost/ui/toolkit.h"

namespace SV {

void Clipboard::Clear() {
  trace::Call call("SV::Clipboard::Clear");
  call.Write();
  if (dry_run::IsOn()) return;  // told with the text that comes instead
  ui::CurrentToolkit().ClearClipboard();
}

int Clipboard::CopyString(const String& text) {
  trace::Call call("SV::Clipboard::CopyString", text);
  if (dry_run::IsOn()) {
    dry_run::Tell({dry_run::Act::kCopyToClipboard, {}, {}, text.Len()});
    return call.Result(1);
  }
  return call.Result(ui::CurrentToolkit().CopyToClipboard(text.View()) ? 1 : 0);
}

}  // namespace SV

#include "host/system/clipboard.h"

#include "host/base/string.h"
#include "tavhost/base/trace.h"
#include "tavhost/ui/toolkit.h"

namespace SV {

void Clipboard::Clear() {
  trace::Call call("SV::Clipboard::Clear");
  call.Write();
  ui::CurrentToolkit().ClearClipboard();
}

int Clipboard::CopyString(const String& text) {
  trace::Call call("SV::Clipboard::CopyString", text);
  return call.Result(ui::CurrentToolkit().CopyToClipboard(text.View()) ? 1 : 0);
}

}  // namespace SV

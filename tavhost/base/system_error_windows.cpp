#include "tavhost/base/system_error_windows.h"

#include "host/windows/windows.h"
#include "tavhost/base/wide_text_windows.h"

namespace base {

std::string SystemErrorText(unsigned long code) {
  wchar_t text[512];
  const DWORD length =
      FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0,
                     text, static_cast<DWORD>(std::size(text)), nullptr);
  std::string message = Narrow({text, length});
  while (!message.empty() && (message.back() == '\n' || message.back() == '\r' ||
                              message.back() == '.' || message.back() == ' ')) {
    message.pop_back();
  }
  return message.empty() ? "error " + std::to_string(code) : message;
}

}  // namespace base

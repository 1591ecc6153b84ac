#include "tavhost/loader/wide_text_windows.h"

#include "host/windows/windows.h"

namespace loader {

std::wstring ToWide(const std::string& utf8) {
  const int length = static_cast<int>(utf8.size());
  std::wstring wide(
      static_cast<std::size_t>(MultiByteToWideChar(CP_UTF8, 0, utf8.data(), length, nullptr, 0)),
      L'\0');
  MultiByteToWideChar(CP_UTF8, 0, utf8.data(), length, wide.data(), static_cast<int>(wide.size()));
  return wide;
}

std::string ToUtf8(const std::wstring& wide) {
  const int length = static_cast<int>(wide.size());
  std::string utf8(static_cast<std::size_t>(WideCharToMultiByte(CP_UTF8, 0, wide.data(), length,
                                                                nullptr, 0, nullptr, nullptr)),
                   '\0');
  WideCharToMultiByte(CP_UTF8, 0, wide.data(), length, utf8.data(), static_cast<int>(utf8.size()),
                      nullptr, nullptr);
  return utf8;
}

std::string SystemErrorText(unsigned long code) {
  wchar_t text[512];
  const DWORD length =
      FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0,
                     text, static_cast<DWORD>(std::size(text)), nullptr);
  std::string message = ToUtf8(std::wstring(text, length));
  while (!message.empty() && (message.back() == '\n' || message.back() == '\r' ||
                              message.back() == '.' || message.back() == ' ')) {
    message.pop_back();
  }
  return message.empty() ? "error " + std::to_string(code) : message;
}

}  // namespace loader

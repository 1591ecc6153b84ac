#include "tavhost/base/wide_text_windows.h"

#include "tavhost/base/utf16.h"

namespace base {

static_assert(sizeof(wchar_t) == sizeof(char16_t));

std::wstring Wide(std::string_view utf8) {
  const std::u16string units = utf16::FromUtf8(utf8);
  return std::wstring(units.begin(), units.end());
}

std::string Narrow(std::wstring_view wide) {
  return utf16::ToUtf8(std::u16string(wide.begin(), wide.end()));
}

}  // namespace base

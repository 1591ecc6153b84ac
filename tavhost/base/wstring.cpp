#include "host/base/wstring.h"

#include <algorithm>
#include <string>

#include "tavhost/base/string_of.h"
#include "tavhost/base/utf16.h"

namespace SV {

WString::WString(const char16_t* text) : units_(text ? text : u"") {}

WString::WString(const char16_t* data, long length)
    : units_(data, static_cast<std::size_t>(std::max(length, 0L))) {}

WString ConvertUTF8StringToWString(const String& text) {
  const std::u16string units = utf16::FromUtf8(text.View());
  return WString(units.data(), static_cast<long>(units.size()));
}

String ConvertWStringToUTF8String(const WString& text) {
  return base::StringOf(utf16::ToUtf8(text.View()));
}

}  // namespace SV

#include "host/base/wstring.h"

#include <algorithm>
#include <string>

#include "tavhost/base/refused_memory.h"
#include "tavhost/base/string_of.h"
#include "tavhost/base/utf16.h"

namespace SV {

WString::WString(const char16_t* text) : units_(text ? text : u"") {}

WString::WString(const char16_t* data, long length)
    : units_(data, static_cast<std::size_t>(std::max(length, 0L))) {}

WString WString::OfUtf8(const String& text) {
  WString wide;
  wide.utf8_ = text;
  return wide;
}

String WString::ToUtf8() const {
  return utf8_.Len() > 0 ? utf8_ : base::StringOf(utf16::ToUtf8(units_));
}

void WString::Convert() const {
  units_ = utf16::FromUtf8(utf8_.View());
  utf8_ = String();
}

WString ConvertUTF8StringToWString(const String& text) {
  return refused_memory::Noting([&text] {
    const std::u16string units = utf16::FromUtf8(text.View());
    return WString(units.data(), static_cast<long>(units.size()));
  });
}

String ConvertWStringToUTF8String(const WString& text) {
  return refused_memory::Noting([&text] { return text.ToUtf8(); });
}

}  // namespace SV

#pragma once

#include <string>
#include <string_view>

#include "host/base/string.h"
#include "host/export.h"

namespace SV {

// A counted string of 16-bit units, UTF-16 where it is text.
class TAV_HOST_API WString {
 public:
  WString() = default;
  WString(const char16_t* text);  // up to the first NUL; null counts as empty
  WString(const char16_t* data, long length);

  // The text of well-formed UTF-8. It stays as it is, and shared, until the units are asked for:
  // a long text that is only handed on is never converted.
  static WString OfUtf8(const String& text);

  long Len() const { return static_cast<long>(Units().size()); }
  const char16_t* GetStr() const { return Units().c_str(); }
  std::u16string_view View() const { return Units(); }
  bool operator==(const WString& other) const { return Units() == other.Units(); }
  String ToUtf8() const;

 private:
  const std::u16string& Units() const {
    if (utf8_.Len() > 0) Convert();
    return units_;
  }
  void Convert() const;

  // The text is in one of them, the other is empty.
  mutable std::u16string units_;
  mutable String utf8_;
};

// Both ways, what is not well-formed (RFC 3629; a lone surrogate) becomes U+FFFD.
TAV_HOST_API WString ConvertUTF8StringToWString(const String& text);
TAV_HOST_API String ConvertWStringToUTF8String(const WString& text);

}  // namespace SV

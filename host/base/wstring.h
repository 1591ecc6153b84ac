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

  long Len() const noexcept { return static_cast<long>(units_.size()); }
  const char16_t* GetStr() const noexcept { return units_.c_str(); }
  std::u16string_view View() const noexcept { return units_; }
  bool operator==(const WString& other) const noexcept { return units_ == other.units_; }

 private:
  std::u16string units_;
};

// Both ways, what is not well-formed (RFC 3629; a lone surrogate) becomes U+FFFD.
TAV_HOST_API WString ConvertUTF8StringToWString(const String& text);
TAV_HOST_API String ConvertWStringToUTF8String(const WString& text);

}  // namespace SV

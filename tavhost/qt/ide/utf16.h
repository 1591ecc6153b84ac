#pragma once

#include <QString>
#include <string_view>

namespace ui::ide_view {

// A widget's text as the rules of the editor take it; valid as long as the text is.
inline std::u16string_view Utf16(const QString& text) {
  return {reinterpret_cast<const char16_t*>(text.utf16()), static_cast<std::size_t>(text.size())};
}

inline QString FromUtf16(std::u16string_view text) {
  return QString::fromUtf16(text.data(), static_cast<qsizetype>(text.size()));
}

}  // namespace ui::ide_view

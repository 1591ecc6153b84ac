#pragma once

#include <QString>
#include <string>
#include <string_view>

// Between the bytes of models and what widgets show.
namespace ui {

// For showing only: what is no UTF-8 becomes U+FFFD, NUL its symbol.
QString Shown(std::string_view text);

// For editing: bytes that are no UTF-8 become single surrogates U+DC80 to U+DCFF and come back
// from them as they were.
QString Editable(std::string_view text);
std::string Bytes(const QString& text);

// A window's title, cut where no window shows more; widgets read "[*]" in it as a mark, here it is
// text.
QString ShownTitle(std::string_view title);
// A button's or check box's label in which `&` is no mnemonic.
QString ShownLabel(std::string_view label);

// Whether a line is so long that wrapping it would take minutes.
bool HasHugeLine(const QString& text);

}  // namespace ui

#pragma once

#include <string>
#include <string_view>

namespace kel {

// A name that every XML 1.0 parser takes as an element's: each character of `text` that may not
// stand at its place becomes `_`, an empty text becomes `_`. Beyond ASCII only letters are kept
// on which the second and the fifth edition of XML 1.0 agree; `:` is no part of a name here.
std::string XmlName(std::string_view text);

}  // namespace kel

#include "tavhost/ui/models/edit_field_model.h"

#include <algorithm>

namespace ui {

std::string WithoutLineBreaks(std::string_view text) {
  std::string line(text);
  std::replace_if(
      line.begin(), line.end(), [](char byte) { return byte == '\n' || byte == '\r'; }, ' ');
  for (const std::string_view separator :
       {"\xE2\x80\xA8", "\xE2\x80\xA9"}) {  // of lines, paragraphs
    for (auto at = line.find(separator); at != line.npos; at = line.find(separator, at)) {
      line.replace(at, separator.size(), " ");
    }
  }
  return line;
}

}  // namespace ui

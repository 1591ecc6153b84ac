#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "host/export.h"

// A script's file between disk and editor, and the small rules of typing.
namespace ide {

enum class LineEnds : std::uint8_t { kUnix, kWindows, kMixed };

// How a file is written beside its characters. What an editor shows has line feeds only.
struct FileForm {
  LineEnds lineEnds = LineEnds::kUnix;
  bool byteOrderMark = false;
};

// A file's bytes as the text of an editor, `form` being set to what that text leaves out. Mixed
// line ends are kept as they are.
TAV_HOST_API std::string TextOf(std::string_view bytes, FileForm& form);
// The bytes of a file for an editor's text.
TAV_HOST_API std::string BytesOf(std::string_view text, const FileForm& form);

// The blanks that a line behind `line` begins with: as many as it has, and a step more when it
// opens a block or a parenthesis that it does not close.
TAV_HOST_API std::u16string IndentBehind(std::u16string_view line, std::u16string_view step);

// Whether the line holds nothing but blanks.
TAV_HOST_API bool IsBlank(std::u16string_view line);

// `FILE:LINE:COLUMN: ` at the start of a line of output.
struct Place {
  std::string file;
  unsigned line = 0;
  unsigned column = 0;
  std::size_t length = 0;  // of what names it, without the last colon
};
TAV_HOST_API std::optional<Place> PlaceIn(std::string_view line);

// How well a command fits what is searched for; 0: not at all. Every word of the query must be in
// its name or its text; names count more, their beginnings most.
TAV_HOST_API int SearchScore(std::string_view query, std::string_view name, std::string_view text);

// 0:07 or 1:02:03, tenths shown below ten seconds: 4.2 s.
TAV_HOST_API std::string ElapsedText(std::int64_t milliseconds);

}  // namespace ide

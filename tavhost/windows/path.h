#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

#include "tavhost/base/file_names.h"

// A path as scripts write it, translated to what the system takes: `\` becomes `/`, repeated
// separators become one, `.` and `..` are resolved in the text. A text that is such a path already
// is used where it stands, so it must outlive the object; a translation stands in the object itself
// unless it is unusually long. What cannot name anything here (an empty path, a drive, a leading
// double separator, a name of the database file area) is invalid.
namespace windows {

using file_names::IsSeparator;

class Path {
 public:
  // Whether the last component may hold wildcards. They are invalid everywhere else.
  enum class Last { kName, kPattern };
  // Where it counts from: nowhere in particular, the directory of the search at which the command
  // stands, or the directory made last before that search.
  enum class Base : unsigned char { kNone, kSearched, kMade };

  explicit Path(const char* text, Last last = Last::kName);
  // A path of the system, taken as it is.
  struct System {
    const char* text;
  };
  explicit Path(System path, Base base = Base::kNone);
  Path(const Path&) = delete;
  Path& operator=(const Path&) = delete;

  bool IsValid() const { return valid_; }
  Base CountsFrom() const { return base_; }
  // The text ended in a separator; the translation does not, unless it is the root.
  bool HasTrailingSeparator() const { return trailingSeparator_; }

  const char* Text() const { return text_; }
  std::size_t Length() const { return length_; }
  std::string_view View() const { return {text_, length_}; }

  // "." or "" for a path without a directory part; "/" for one in the root.
  std::string_view Directory() const;
  // The part behind the last separator. It is "." only for the current directory and ".." only for
  // a directory above that; everywhere else the translation has resolved them.
  const char* Name() const;

 private:
  // False when the text has no beginning that leads to a known directory.
  bool TakeRest(const char* text, Last last);
  // Takes the text as it is when a translation would change nothing. Otherwise `plain` is the
  // length of the part for which it would not: nothing, or up to a component.
  bool TakeAsItIs(const char* text, std::size_t& plain);
  bool Translate(const char* text, std::size_t plain, Last last);
  // Room for so many bytes, the end included.
  char* Reserve(std::size_t room);

  static constexpr std::size_t kInPlace = 1024;

  bool valid_ = false;
  Base base_ = Base::kNone;
  bool trailingSeparator_ = false;
  std::size_t length_ = 0;
  char inPlace_[kInPlace];
  std::unique_ptr<char[]> longText_;
  const char* text_;
};

}  // namespace windows

#include "tavhost/windows/path.h"

#include <cerrno>
#include <cstring>

namespace windows {

namespace {

bool IsLetter(char byte) { return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z'); }

bool IsWildcard(char byte) { return byte == '*' || byte == '?'; }

bool HasDrive(const char* text) { return IsLetter(text[0]) && text[1] == ':'; }

bool IsDatabaseName(const char* text) {
  return (text[0] | 0x20) == 'd' && (text[1] | 0x20) == 'b' && text[2] == ':' &&
         IsSeparator(text[3]);
}

}  // namespace

Path::Path(const char* text, Last last) {
  inPlace_[0] = '\0';
  if (!text || text[0] == '\0' || HasDrive(text) || IsDatabaseName(text)) {
    errno = ENOENT;
    return;
  }
  if (IsSeparator(text[0]) && text[1] == text[0]) {  // the name of a network share
    errno = ENOENT;
    return;
  }
  valid_ = Translate(text, last);
  if (!valid_) errno = EINVAL;
}

Path::Path(System path) : valid_(true), length_(std::strlen(path.text)) {
  Reserve(length_ + 1);
  std::memcpy(text_, path.text, length_ + 1);
}

void Path::Reserve(std::size_t room) {
  if (room <= kInPlace) return;
  longText_ = std::make_unique<char[]>(room);
  text_ = longText_.get();
}

bool Path::Translate(const char* text, Last last) {
  // The translation is never longer than the text, but for a "." where nothing is left.
  Reserve(std::strlen(text) + 2);
  char* const begin = text_;
  char* end = begin;
  const char* read = text;
  if (IsSeparator(*read)) *end++ = '/';
  char* const first = end;  // components begin here
  char* fixed = first;      // what stands before it are ".." that have nothing to take back
  bool wildcards = false;
  while (true) {
    while (IsSeparator(*read)) ++read;
    if (*read == '\0') break;
    if (wildcards) return false;  // in a component that is not the last
    const char* component = read;
    while (*read != '\0' && !IsSeparator(*read)) wildcards |= IsWildcard(*read++);
    if (wildcards && last == Last::kName) return false;
    const auto length = static_cast<std::size_t>(read - component);
    trailingSeparator_ = *read != '\0';
    if (length == 1 && component[0] == '.') {
      trailingSeparator_ = false;
      continue;
    }
    if (length == 2 && component[0] == '.' && component[1] == '.') {
      trailingSeparator_ = false;
      if (end > fixed) {
        while (end > fixed && end[-1] != '/') --end;
        if (end > fixed) --end;
        continue;
      }
      if (begin != first) continue;  // the root's parent is the root
      if (end > first) *end++ = '/';
      *end++ = '.';
      *end++ = '.';
      fixed = end;
      continue;
    }
    if (end > first) *end++ = '/';
    std::memcpy(end, component, length);
    end += length;
  }
  if (wildcards && trailingSeparator_) return false;
  if (end == begin) *end++ = '.';
  if (end == first && begin != first) trailingSeparator_ = true;  // the root
  *end = '\0';
  length_ = static_cast<std::size_t>(end - begin);
  return true;
}

std::string_view Path::Directory() const {
  const auto slash = View().rfind('/');
  if (slash == std::string_view::npos) return ".";
  return View().substr(0, slash == 0 ? 1 : slash);
}

const char* Path::Name() const {
  const auto slash = View().rfind('/');
  return slash == std::string_view::npos ? text_ : text_ + slash + 1;
}

}  // namespace windows

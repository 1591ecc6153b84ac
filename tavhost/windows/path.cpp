#include "tavhost/windows/path.h"

#include <array>
#include <cerrno>
#include <cstring>

#include "tavhost/base/ascii.h"
#include "tavhost/windows/standing.h"

namespace windows {

namespace {

// What a byte is to a path. The order counts: what can stand in a name comes before kSlash.
enum class Byte : unsigned char { kOrdinary, kDot, kColon, kWildcard, kSlash, kBackslash, kEnd };

constexpr auto kBytes = [] {
  std::array<Byte, 256> bytes{};
  bytes['.'] = Byte::kDot;
  bytes[':'] = Byte::kColon;
  bytes['*'] = bytes['?'] = Byte::kWildcard;
  bytes['/'] = Byte::kSlash;
  bytes['\\'] = Byte::kBackslash;
  bytes['\0'] = Byte::kEnd;
  return bytes;
}();

Byte ByteOf(char byte) { return kBytes[static_cast<unsigned char>(byte)]; }

bool HasDrive(const char* text) { return ascii::IsLetter(text[0]) && text[1] == ':'; }

bool IsDatabaseName(const char* text) {
  return ascii::ToLower(text[0]) == 'd' && ascii::ToLower(text[1]) == 'b' && text[2] == ':' &&
         IsSeparator(text[3]);
}

// Longer than any system takes, however often it says `../` to come down to less: such a text is
// not even looked through.
bool IsTooLong(const char* text) {
  constexpr std::size_t kLongest = std::size_t{4} << 20;
  return strnlen(text, kLongest + 1) > kLongest;
}

}  // namespace

Path::Path(const char* text, Last last) : text_("") {
  if (standing.search && text && TakeRest(text, last)) return;
  if (text && IsTooLong(text)) {
    errno = ENAMETOOLONG;
    return;
  }
  std::size_t plain = 0;
  if (text && TakeAsItIs(text, plain)) [[likely]]
    return;
  if (!text || text[0] == '\0' || HasDrive(text) || IsDatabaseName(text)) {
    errno = ENOENT;
    return;
  }
  if (IsSeparator(text[0]) && text[1] == text[0]) {  // the name of a network share
    errno = ENOENT;
    return;
  }
  valid_ = Translate(text, plain, last);
  if (!valid_) errno = EINVAL;
  // What a path comes down to is judged like what it says: `x/../k:` is the drive, too.
  if (valid_ && (HasDrive(text_) || IsDatabaseName(text_))) {
    valid_ = false;
    errno = ENOENT;
  }
}

Path::Path(System path, Base base)
    : valid_(true), base_(base), length_(std::strlen(path.text)), text_(path.text) {}

bool Path::TakeRest(const char* text, Last last) {
  const bool isSource = text == standing.source;
  if (!isSource && text != standing.target) return false;
  const char* rest = text + (isSource ? standing.sourceLength : standing.targetLength);
  while (IsSeparator(*rest)) ++rest;
  if (*rest == '\0') return false;  // the directory itself, which may go by any name
  std::size_t plain = 0;
  valid_ = TakeAsItIs(rest, plain) || Translate(rest, plain, last);
  const std::string_view first = View().substr(0, View().find('/'));
  if (valid_ && file_names::IsDots(first)) {  // it leads out again
    valid_ = trailingSeparator_ = false;
    return false;
  }
  if (!valid_) errno = EINVAL;
  base_ = isSource ? Base::kSearched : Base::kMade;
  return true;
}

char* Path::Reserve(std::size_t room) {
  if (room <= kInPlace) return inPlace_;
  longText_ = std::make_unique<char[]>(room);
  return longText_.get();
}

bool Path::TakeAsItIs(const char* text, std::size_t& plain) {
  const char* component = text + (*text == '/' ? 1 : 0);
  const char* read = component;
  for (;; ++read) {
    const Byte byte = ByteOf(*read);
    if (byte == Byte::kOrdinary) [[likely]]
      continue;
    // Left to Translate: a name that begins with a dot, which may be `.` or `..`, an empty name,
    // and a separator at the end.
    if (read == component) return false;
    if (byte == Byte::kEnd) break;
    if (byte == Byte::kSlash) {
      component = read + 1;
      plain = static_cast<std::size_t>(component - text);
    } else if (byte != Byte::kDot) {
      return false;
    }
  }
  text_ = text;
  length_ = static_cast<std::size_t>(read - text);
  return valid_ = true;
}

bool Path::Translate(const char* text, std::size_t plain, Last last) {
  // The translation is never longer than the text, but for a "." where nothing is left.
  char* const begin = Reserve(std::strlen(text) + 2);
  text_ = begin;
  char* end = begin;
  const char* read = text;
  if (IsSeparator(*read)) *end++ = '/';
  char* const first = end;  // components begin here
  char* fixed = first;      // what stands before it are ".." that have nothing to take back
  bool wildcards = false;
  if (plain > 0) {  // whole components, whose last separator is put back with the next one
    std::memcpy(begin, text, plain);
    end = begin + plain - 1;
    read = text + plain;
    trailingSeparator_ = true;
  }
  while (true) {
    while (IsSeparator(*read)) ++read;
    if (*read == '\0') break;
    if (wildcards) return false;  // in a component that is not the last
    char* const before = end;
    if (end > first) *end++ = '/';
    const char* const component = end;
    for (Byte byte; (byte = ByteOf(*read)) < Byte::kSlash; ++read) {
      wildcards |= byte == Byte::kWildcard;
      *end++ = *read;
    }
    if (wildcards && last == Last::kName) return false;
    const std::string_view name(component, static_cast<std::size_t>(end - component));
    trailingSeparator_ = *read != '\0';
    if (name == ".") {
      end = before;
    } else if (name == "..") {
      if (before > fixed) {
        end = before;
        while (end > fixed && end[-1] != '/') --end;
        if (end > fixed) --end;
      } else if (begin != first) {
        end = before;  // the root's parent is the root
      } else {
        fixed = end;
      }
    }
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

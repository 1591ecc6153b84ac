#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "host/base/string.h"

namespace SV {

// A text that others get, put something behind, cut lines off, and set again; whole each time, but
// at the cost of what changed. A string that is got shares the bytes. It may grow in place, since
// the history keeps the ends of its own text; it is the one sharer that does. Strings that grew
// out of the text are known when they are set again, in whatever buffer they lie by then, so that
// what changed need not be searched for.
//
// On the user-interface thread only.
class TextHistory {
 public:
  TextHistory();
  TextHistory(const TextHistory&) = delete;
  TextHistory& operator=(const TextHistory&) = delete;
  ~TextHistory();

  String Get();
  std::string_view View() const { return {bytes_, length_}; }  // good until the next Set or Get

  struct Change {
    // The new text is the old one with `added` behind it, without its first `dropped` bytes, which
    // are whole lines. Otherwise it is another text.
    bool continues = false;
    std::size_t dropped = 0;
    std::string_view added;
    String before;  // keeps the bytes of the old text
  };
  Change Set(const String& text);

 private:
  friend class String;
  using Buffer = String::Buffer;
  struct Entry;
  struct Entries;

  // For strings whose buffer is in a history.
  static bool MayChangeEnds(const Buffer* buffer) noexcept;
  static void Follow(const Buffer* from, Buffer* copy);  // `copy` holds the text of `from`
  static void Forget(Buffer* buffer) noexcept;           // before it is freed, or to leave it alone

  static Entry* Find(const Buffer* buffer) noexcept;
  void Hold(const String& text, std::uint64_t position);
  void LetGo();
  String CopyOfOwn() const;
  Change Compare(const String& text) const;
  Change CompareHistory(const String& text, const Entry& entry) const;
  Change CompareBytes(const String& text) const;

  const std::uint64_t id_;
  std::uint64_t version_ = 0;
  String text_;
  // The history's own view of the buffer, whatever others have put behind it.
  const char* bytes_ = "";
  std::size_t length_ = 0;
  std::uint64_t position_;  // where the text begins in all that there ever was
};

}  // namespace SV

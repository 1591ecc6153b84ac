#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "host/base/string.h"

namespace SV {

// A long text that is changed in rounds: somebody gets it as a string, puts something behind it or
// cuts lines off its start, and sets it again. Every round hands over the whole text, but costs
// only as much as the change.
//
// The string that Get returns shares the history's buffer and may nevertheless grow in it, since
// the history remembers where its own text ends; no other shared string can do that. Set recognises
// a string that grew out of the history's text, even when it had to move to another buffer, so that
// the change need not be searched for.
//
// On the user-interface thread only.
class TextHistory {
 public:
  TextHistory();
  TextHistory(const TextHistory&) = delete;
  TextHistory& operator=(const TextHistory&) = delete;
  ~TextHistory();

  // The text. Not const: what an earlier receiver did to the shared buffer is undone here.
  String Get();
  std::string_view View() const { return {bytes_, length_}; }  // good until the next Set or Get

  // How a text that was set differs from the one before. `added` is good until the next Set or Get.
  struct Change {
    // True: the new text is the old one without its first `dropped` bytes, which are whole lines,
    // and with `added` behind it. False: it has nothing to do with the old one.
    bool continues = false;
    std::size_t dropped = 0;
    std::string_view added;
    String before;  // keeps the bytes of the old text
  };
  // Takes the text over and tells what is new about it.
  Change Set(const String& text);

 private:
  friend class String;
  using Buffer = String::Buffer;
  struct Entry;
  struct Entries;

  // For strings whose buffer is in a history (Buffer::IsInHistory). The first: whether the buffer
  // is shared by the history and one string alone, which may then change it at its ends.
  static bool MayChangeEnds(const Buffer* buffer) noexcept;
  static void Follow(const Buffer* from, Buffer* copy);  // `copy` holds the text of `from`
  static void Forget(Buffer* buffer) noexcept;           // before it is freed, or to leave it alone

  static Entry* Find(const Buffer* buffer) noexcept;  // null for a buffer of no history
  void Hold(const String& text, std::uint64_t position);
  void LetGo();  // forgets the buffer that it holds, if it is one of its own
  String CopyOfOwn() const;
  // What `text` is to the text that is held: by the history of its buffer, else by its bytes.
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

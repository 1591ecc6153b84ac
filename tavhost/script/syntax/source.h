#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/string.h"
#include "tavhost/base/stop.h"
#include "tavhost/script/runner.h"

namespace script {

// A script's text and name, the files that it includes, and what stands where in them. Offsets
// count through all the texts, so that one number tells file and place: the offsets of an included
// file follow those of the texts that were read before it.
class Source {
 public:
  Source(SV::String text, std::string name) { Add(std::move(text), std::move(name)); }

  // Of the script itself.
  std::string_view Text() const { return files_.front()->text.View(); }

  struct File {
    SV::String text;
    std::string name;
    std::uint32_t begin = 0;  // the offset of its first byte
  };
  // A file that is included; it stays where it is. Null when offsets cannot count that far.
  const File* Add(SV::String text, std::string name);
  bool HasIncludes() const { return files_.size() > 1; }
  const File& FileOf(std::uint32_t offset) const;

  // Where an offset lies, for people.
  struct Place {
    std::uint32_t line = 1;     // from 1
    std::uint32_t column = 1;   // from 1, in code points
    std::size_t lineBegin = 0;  // of its file's text, in bytes
  };
  Place PlaceOf(std::uint32_t offset) const { return Cursor(*this).PlaceOf(offset); }

  // Finds many places, best in the order of the text: each costs the way from the one before.
  class Cursor {
   public:
    explicit Cursor(const Source& source) : source_(source) {}
    Place PlaceOf(std::uint32_t offset);

   private:
    const Source& source_;
    const File* file_ = nullptr;
    std::size_t at_ = 0;  // in its text
    Place place_;         // of that
  };

  // The offset of a piece of one of the texts.
  std::uint32_t OffsetOf(std::string_view part) const;
  // From an offset to the end of its file.
  std::string_view TextFrom(std::uint32_t offset) const;

  // The offset of a place, `otherwise` when the text has no such place. No file: the script.
  std::uint32_t OffsetOf(std::int32_t line, std::int32_t column, std::uint32_t otherwise,
                         std::string_view file = {}) const;

  // Of a very long line the diagnostic shows a piece around the place.
  Diagnostic Describe(std::uint32_t offset, const std::string& message) const {
    return Describe(offset, PlaceOf(offset), message);
  }
  Diagnostic Describe(std::uint32_t offset, const Place& place, const std::string& message) const;
  // Without memory for that: the place, and that there is no memory.
  Diagnostic DescribeInAnyCase(std::uint32_t offset, const std::string& message) const;

 private:
  std::string ShownLine(std::uint32_t offset, const Place& place) const;

  std::vector<std::unique_ptr<const File>> files_;
};

// Thrown for a script that does not parse.
struct SyntaxError {
  std::uint32_t offset;
  std::string message;
  bool incomplete = false;                                // as in Diagnostic
  std::shared_ptr<const Diagnostic> described = nullptr;  // when files are included
};

// Thrown for a stop that is asked for while a text is read: how far it was.
class StoppedReading final : public stop::Stopped {
 public:
  StoppedReading(const Source& source, std::uint32_t offset)
      : file_(source.FileOf(offset).name), line_(source.PlaceOf(offset).line) {}

  const std::string& File() const { return file_; }
  std::uint32_t Line() const { return line_; }

 private:
  std::string file_;
  std::uint32_t line_;
};

// What a mistake in a script of that text and name looks like.
Diagnostic Describe(const SyntaxError& mistake, const SV::String& text, const std::string& name);

// What is said when there is no memory to say more. Takes none.
Diagnostic DescribeNoMemory(std::uint32_t line, std::uint32_t column) noexcept;

}  // namespace script

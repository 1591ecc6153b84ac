#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace windows {

enum class EntryType : std::uint8_t { kOther, kDirectory, kLink };

struct Entry {
  std::string_view name;  // a NUL stands behind it
  EntryType type;
};

// The entries of one directory as they are now: `.` and `..`, then ascending by upper-cased bytes,
// ties by bytes.
class EntryList {
 public:
  // Reads what the pattern matches. False, with errno set, when the directory cannot be read, or
  // holds a name that the Windows functions cannot hand out. Directories may be very large: a stop
  // request ends it.
  bool Read(int directory, std::string_view pattern);
  // Behind all others, whatever the name.
  void Add(std::string_view name, EntryType type);

  std::size_t Count() const { return entries_.size(); }
  Entry At(std::size_t index) const;

 private:
  struct Record {
    // Eight bytes of the name, upper-cased, from the place on at which the names of the directory
    // begin to differ: they decide most comparisons, without a look at the names.
    std::uint64_t key;
    std::uint32_t offset;  // of the name in names_
    std::uint16_t length;  // file systems that count letters allow more than 255 bytes
    EntryType type;
  };

  void Sort();
  std::string_view NameOf(const Record& record) const {
    return {names_.data() + record.offset, record.length};
  }

  std::vector<char> names_;
  std::vector<Record> entries_;
};

}  // namespace windows

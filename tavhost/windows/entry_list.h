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
  // Reads what the pattern matches. False, with errno set, when the directory cannot be read.
  bool Read(int directory, std::string_view pattern);
  void Add(std::string_view name, EntryType type);

  std::size_t Count() const { return entries_.size(); }
  Entry At(std::size_t index) const;

 private:
  struct Record {
    std::uint64_t key;  // the first bytes that differ between names, upper-cased
    std::uint32_t offset;
    std::uint8_t length;
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

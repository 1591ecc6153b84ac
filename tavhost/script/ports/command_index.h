#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "host/script/message_port_command.h"

namespace script {

// Finds the rows of one command table. Built once a table: a hash without collisions, so that
// finding is one hash and one comparison.
class CommandIndex {
 public:
  explicit CommandIndex(const TavMessagePortCommand* table);

  // Null when the table has no such command.
  const TavMessagePortCommand* Find(const char* name) const noexcept;

  // The index of a table, made at its first use.
  static const CommandIndex& For(const TavMessagePortCommand* table);
  // Forgets all tables: that of an unloaded plug-in may be gone, and another one in its place.
  static void ForgetAll();

 private:
  // What a name was found to be. Compiled commands ask with the same few pointers over and over.
  struct Recent {
    const char* name = nullptr;
    const TavMessagePortCommand* row = nullptr;
  };
  static constexpr std::size_t kRecent = 64;

  bool Fill(std::size_t count);  // with the seed as it is; false when two names meet
  const TavMessagePortCommand* Search(const char* name) const noexcept;

  const TavMessagePortCommand* table_;
  std::uint64_t seed_ = 0;
  std::vector<std::uint16_t> rows_;  // row + 1, 0 when free; the size is a power of two
  mutable Recent recent_[kRecent];   // by the name's address
};

}  // namespace script

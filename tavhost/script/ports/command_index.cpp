#include "tavhost/script/ports/command_index.h"

#include <cstring>
#include <memory>

#include "tavhost/notation/scope.h"

namespace script {

namespace {

// Another order of the same hashes for each seed.
std::uint64_t Spread(std::uint64_t hash, std::uint64_t seed) noexcept {
  hash = (hash ^ seed) * 0xD6E8FEB86659FD93u;
  return hash ^ (hash >> 29);
}

// Names are a few bytes long: a call would take longer.
bool IsSame(const char* a, const char* b) noexcept {
  for (; *a == *b; ++a, ++b) {
    if (*a == '\0') return true;
  }
  return false;
}

std::vector<std::unique_ptr<CommandIndex>>& Indices() {
  static std::vector<std::unique_ptr<CommandIndex>> indices;
  return indices;
}

const CommandIndex* latest = nullptr;  // the one asked for last, mostly the only one

}  // namespace

CommandIndex::CommandIndex(const TavMessagePortCommand* table) : table_(table) {
  // Tries seeds until every name has a place of its own. With four times as many places as names a
  // few tries are enough; when 64 are not, the places are doubled.
  std::size_t count = 0;
  while (table[count].name) ++count;
  std::size_t size = 8;
  while (size < count * 4) size *= 2;
  constexpr std::uint64_t kTriesASize = 64;
  for (rows_.resize(size);; ++seed_) {
    if (Fill(count)) return;
    if (seed_ % kTriesASize == kTriesASize - 1) rows_.resize(rows_.size() * 2);
  }
}

bool CommandIndex::Fill(std::size_t count) {
  rows_.assign(rows_.size(), 0);
  for (std::size_t row = 0; row < count; ++row) {
    std::uint16_t& place =
        rows_[Spread(kel::HashName(table_[row].name), seed_) & (rows_.size() - 1)];
    if (place == 0) {
      place = static_cast<std::uint16_t>(row + 1);
    } else if (std::strcmp(table_[place - 1].name, table_[row].name) != 0) {
      return false;
    }  // of two rows of one name the first counts
  }
  return true;
}

const TavMessagePortCommand* CommandIndex::Find(const char* name) const noexcept {
  const auto address = reinterpret_cast<std::uintptr_t>(name);
  Recent& recent = recent_[(address >> 4 ^ address >> 10) % kRecent];
  // The memory may hold another name by now, so the address alone proves nothing.
  if (recent.name == name && IsSame(recent.row->name, name)) return recent.row;
  const TavMessagePortCommand* row = Search(name);
  if (row) recent = {name, row};
  return row;
}

const TavMessagePortCommand* CommandIndex::Search(const char* name) const noexcept {
  const std::uint64_t hash = Spread(kel::HashName({name, std::strlen(name)}), seed_);
  const std::uint16_t place = rows_[hash & (rows_.size() - 1)];
  if (place == 0 || std::strcmp(table_[place - 1].name, name) != 0) return nullptr;
  return &table_[place - 1];
}

const CommandIndex& CommandIndex::For(const TavMessagePortCommand* table) {
  if (latest && latest->table_ == table) return *latest;
  for (const auto& index : Indices()) {
    if (index->table_ == table) return *(latest = index.get());
  }
  Indices().push_back(std::make_unique<CommandIndex>(table));
  return *(latest = Indices().back().get());
}

void CommandIndex::ForgetAll() {
  latest = nullptr;
  Indices().clear();
}

}  // namespace script

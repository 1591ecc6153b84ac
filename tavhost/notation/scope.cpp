#include "tavhost/notation/scope.h"

#include <algorithm>
#include <utility>

#include "tavhost/base/string_of.h"

namespace kel {

namespace {

std::uint64_t Load(const char* bytes, std::size_t count) noexcept {
  std::uint64_t word = 0;
  std::memcpy(&word, bytes, count);
  return word;
}

// Multiplying carries every bit upwards; the shift brings the upper half down again, since tables
// take their places from the low bits.
std::uint64_t Mix(std::uint64_t a, std::uint64_t b) noexcept {
  a = (a ^ b) * 0x9E3779B97F4A7C15u;
  return a ^ (a >> 32);
}

}  // namespace

std::uint64_t HashName(std::string_view name) noexcept {
  const char* bytes = name.data();
  std::size_t left = name.size();
  std::uint64_t hash = left;
  for (; left > 8; bytes += 8, left -= 8) hash = Mix(hash, Load(bytes, 8));
  // Constant sizes, since a copy of unknown size is a call.
  if (left == 8) return Mix(hash, Load(bytes, 8));
  std::uint64_t word = 0;
  if (left >= 4) {
    word = Load(bytes, 4) | Load(bytes + left - 4, 4) << 32;
  } else if (left > 0) {
    word = static_cast<unsigned char>(bytes[0]) |
           static_cast<std::uint64_t>(static_cast<unsigned char>(bytes[left / 2])) << 8 |
           static_cast<std::uint64_t>(static_cast<unsigned char>(bytes[left - 1])) << 16;
  }
  return Mix(hash, word);
}

std::uint32_t Layout::Find(std::string_view name) const noexcept {
  if (table_.empty()) return kAbsent;
  const std::uint64_t hash = HashName(name);
  const std::size_t mask = table_.size() - 1;
  for (std::size_t place = hash & mask; table_[place] != 0; place = (place + 1) & mask) {
    const Entry& entry = entries_[table_[place] - 1];
    if (entry.hash == hash && entry.name.View() == name) return table_[place] - 1;
  }
  return kAbsent;
}

std::uint32_t Layout::Add(std::string_view name) {
  const std::uint32_t found = Find(name);
  if (found != kAbsent) return found;
  const std::uint64_t hash = HashName(name);
  entries_.push_back({base::StringOf(name), hash, false});
  if (entries_.size() * 2 > table_.size()) {
    Rehash();
  } else {
    const std::size_t mask = table_.size() - 1;
    std::size_t place = hash & mask;
    while (table_[place] != 0) place = (place + 1) & mask;
    table_[place] = Count();
  }
  return Count() - 1;
}

void Layout::Rehash() {
  table_.assign(std::max<std::size_t>(8, table_.size() * 4), 0);
  const std::size_t mask = table_.size() - 1;
  for (std::uint32_t slot = 0; slot < Count(); ++slot) {
    std::size_t place = entries_[slot].hash & mask;
    while (table_[place] != 0) place = (place + 1) & mask;
    table_[place] = slot + 1;
  }
}

const Value* Scope::ReadOwn(std::string_view name) const noexcept {
  if (layout_) {
    const std::uint32_t slot = layout_->Find(name);
    if (slot != Layout::kAbsent) return slots_[slot].IsNone() ? nullptr : &slots_[slot];
  }
  if (others_) {
    const auto found = others_->find(name);
    if (found != others_->end() && !found->second.IsNone()) return &found->second;
  }
  return nullptr;
}

const Value* Scope::Read(std::string_view name) const noexcept {
  for (const Scope* scope = this; scope; scope = scope->enclosing_) {
    if (const Value* found = scope->ReadOwn(name)) return found;
  }
  return nullptr;
}

Scope::Place Scope::PlaceFor(std::string_view name) {
  if (layout_) {
    const std::uint32_t slot = layout_->Find(name);
    if (slot != Layout::kAbsent) {
      // Declared `global`: it is kept in the outermost scope, which is this one at the top level.
      if (layout_->IsGlobal(slot) && enclosing_) return {Outermost().PlaceFor(name).value, false};
      return {&slots_[slot], true};
    }
  }
  if (!others_) others_ = std::make_unique<Map>();
  const auto found = others_->find(name);
  return {found != others_->end() ? &found->second : &(*others_)[std::string(name)], true};
}

namespace {

// Where the value of a name was kept last. The entry shares the name's string, so that no other
// string can come to lie at its address: the same address means the same name. The generation is
// that of the scope then; any other one means that the place may be gone.
struct RecentPlace {
  SV::String name;
  std::uint64_t generation = 0;
  Value* value = nullptr;
};
constexpr std::size_t kRecentPlaces = 64;
RecentPlace recentPlaces[kRecentPlaces];

}  // namespace

void Scope::SetRepeated(const SV::String& name, Value&& value) {
  const auto address = reinterpret_cast<std::uintptr_t>(name.GetStr());
  RecentPlace& recent = recentPlaces[(address >> 4 ^ address >> 10) % kRecentPlaces];
  if (recent.generation == generation_ && recent.name.GetStr() == name.GetStr()) {
    if (value.Kind() == TavKelInteger) {
      recent.value->SetInteger(value.Integer());
    } else {
      *recent.value = std::move(value);
    }
    return;
  }
  const Place place = PlaceFor(name.View());
  if (place.isOwn) recent = {name, generation_, place.value};
  *place.value = std::move(value);
}

void Scope::Clear() {
  generation_ = ++lastGeneration;
  if (!layout_) {
    others_.reset();
    return;
  }
  for (std::uint32_t slot = 0; slot < layout_->Count(); ++slot) slots_[slot] = Value();
  // What Detach is to find stays.
  if (others_) {
    for (auto& [name, value] : *others_) value = Value();
  }
}

// Whatever needs memory is done here, so that Detach needs none: each name with a slot gets its
// place among the others, empty as long as the slot stands for it.
void Scope::Attach(const Layout& layout, Value* slots) {
  generation_ = ++lastGeneration;
  Detach();
  if (layout.Count() > 0 && !others_) others_ = std::make_unique<Map>();
  for (std::uint32_t slot = 0; slot < layout.Count(); ++slot) {
    const std::string_view name = layout.Name(slot).View();
    if (others_->find(name) == others_->end()) others_->try_emplace(std::string(name));
  }
  AttachEmpty(layout, slots);
  for (std::uint32_t slot = 0; slot < layout.Count(); ++slot) {
    slots_[slot].Swap(others_->find(layout.Name(slot).View())->second);
  }
}

void Scope::Detach() noexcept {
  if (!layout_) return;
  generation_ = ++lastGeneration;
  const Layout* layout = std::exchange(layout_, nullptr);
  Value* slots = std::exchange(slots_, nullptr);
  for (std::uint32_t slot = 0; slot < layout->Count(); ++slot) {
    const auto found = others_->find(layout->Name(slot).View());
    if (slots[slot].IsNone()) {
      others_->erase(found);
    } else {
      found->second = std::move(slots[slot]);
    }
  }
}

void Scope::ForEach(const std::function<void(std::string_view, const Value&)>& visit) const {
  for (std::uint32_t slot = 0; layout_ && slot < layout_->Count(); ++slot) {
    if (!slots_[slot].IsNone()) visit(layout_->Name(slot).View(), slots_[slot]);
  }
  if (!others_) return;
  for (const auto& [name, value] : *others_) {
    if (!value.IsNone()) visit(name, value);
  }
}

}  // namespace kel

TavKelValueSet::TavKelValueSet() : scope_(new kel::Scope) {}

TavKelValueSet::TavKelValueSet(TavKelValueSet* enclosingScope)
    : scope_(new kel::Scope(enclosingScope ? enclosingScope->scope_ : nullptr)) {}

TavKelValueSet::~TavKelValueSet() { delete scope_; }

void TavKelValueSet::OldMoveValue(const SV::String& name, TavKelValue* value, bool) {
  const std::unique_ptr<TavKelValue> owned(value);
  if (owned) scope_->SetRepeated(name, std::move(kel::Value::Of(*owned)));
}

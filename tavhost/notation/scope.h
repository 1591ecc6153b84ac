#pragma once

#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "host/notation/kel_value_set.h"
#include "tavhost/notation/value.h"

// Scopes: the named values behind every TavKelValueSet. A scope can lend some of its names a fixed
// place (a slot) in the memory of a running script; all other names live in a map.
namespace kel {

// For tables of names, which are short: faster than the standard library's hash for these.
std::uint64_t HashName(std::string_view name) noexcept;

// For the standard library's tables, which can then be asked for a view.
struct NameHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view name) const noexcept {
    return static_cast<std::size_t>(HashName(name));
  }
};

// The names that have slots in a piece of compiled script, in the order of their slots. Made once
// by the compiler, then shared by all runs.
class Layout {
 public:
  static constexpr std::uint32_t kAbsent = ~std::uint32_t{0};

  Layout() = default;
  Layout(const Layout&) = delete;
  Layout& operator=(const Layout&) = delete;

  std::uint32_t Find(std::string_view name) const noexcept;
  // The name's slot, a new one when it has none.
  std::uint32_t Add(std::string_view name);
  std::uint32_t Count() const noexcept { return static_cast<std::uint32_t>(entries_.size()); }
  const SV::String& Name(std::uint32_t slot) const { return entries_[slot].name; }

  // A slot whose name belongs to the outermost scope: what is set under it is set there.
  void MarkGlobal(std::uint32_t slot) { entries_[slot].global = true; }
  bool IsGlobal(std::uint32_t slot) const { return entries_[slot].global; }

 private:
  struct Entry {
    SV::String name;
    std::uint64_t hash;
    bool global;
  };

  void Rehash();

  std::vector<Entry> entries_;
  std::vector<std::uint32_t> table_;  // open addressing; slot + 1, 0 when free
};

// The variables of one level of a running script: the global ones, those of a function call, or
// those of an executed text. Reading looks outwards through the enclosing scopes; setting stays in
// this one, except for names declared `global`. While compiled script runs in the scope, its
// variables lie in slots, which are the registers of that code: the code reads them by number,
// results of commands arrive by name, and both mean the same place.
class Scope {
 public:
  explicit Scope(Scope* enclosing = nullptr) noexcept : enclosing_(enclosing) {}
  Scope(const Scope&) = delete;
  Scope& operator=(const Scope&) = delete;
  ~Scope() = default;

  Scope* Enclosing() const noexcept { return enclosing_; }

  Scope& Outermost() noexcept {
    Scope* scope = this;
    while (scope->enclosing_) scope = scope->enclosing_;
    return *scope;
  }

  // The value of a name, looked for outwards; null when it has none anywhere.
  const Value* Read(std::string_view name) const noexcept;
  // Only in this scope; null when it has none.
  const Value* ReadOwn(std::string_view name) const noexcept;
  void Set(std::string_view name, Value value) { *PlaceFor(name).value = std::move(value); }
  // The same, for names that come over and over in the same strings, as the result variables of
  // commands do: their places are remembered.
  void SetRepeated(const SV::String& name, Value&& value);
  // The place of a name's value in this scope; null when it has none.
  Value* Find(std::string_view name) noexcept { return const_cast<Value*>(ReadOwn(name)); }
  void Clear();

  // Lends the layout's names their slots; values that the scope holds move into them. `slots` are
  // layout.Count() values, all empty, that stay where they are until Detach.
  void Attach(const Layout& layout, Value* slots);
  // As Attach for a scope that is new and empty.
  void AttachEmpty(const Layout& layout, Value* slots) noexcept {
    layout_ = &layout;
    slots_ = slots;
  }
  // For the scope of a call: begins anew inside `enclosing` with slots that are set already.
  void Begin(Scope& enclosing, const Layout& layout, Value* slots) noexcept {
    generation_ = ++lastGeneration;
    enclosing_ = &enclosing;
    AttachEmpty(layout, slots);
  }
  // Ends a call's scope; the slots' values belong to their owner.
  void End() noexcept {
    layout_ = nullptr;
    if (others_) {
      others_.reset();
      generation_ = ++lastGeneration;
    }
  }
  // Takes the values out of the slots again and keeps them by their names. Only behind Attach.
  void Detach() noexcept;
  bool IsAttached() const noexcept { return layout_ != nullptr; }

  // Every variable of this scope that has a value; those without a slot in no order.
  void ForEach(const std::function<void(std::string_view, const Value&)>& visit) const;

  // Changes whenever pointers that Read gave may have gone stale; no two scopes share one.
  std::uint64_t Generation() const noexcept { return generation_; }

  static Scope& Of(TavKelValueSet& set) noexcept { return *set.scope_; }

 private:
  friend class ::TavKelValueSet;
  friend class BorrowedSet;
  static void Lead(TavKelValueSet& set, Scope& scope) noexcept { set.scope_ = &scope; }

  // Where a name's value is kept, and whether that is in this scope.
  struct Place {
    Value* value;
    bool isOwn;
  };
  Place PlaceFor(std::string_view name);

  using Map = std::unordered_map<std::string, Value, NameHash, std::equal_to<>>;

  Scope* enclosing_;
  const Layout* layout_ = nullptr;
  Value* slots_ = nullptr;
  std::unique_ptr<Map> others_;  // an empty value is none
  std::uint64_t generation_ = ++lastGeneration;

  static inline std::uint64_t lastGeneration = 0;
};

// A TavKelValueSet that can stand for any scope, which somebody else owns. Commands get their
// results' set from here, so that none has to be made for each command.
class BorrowedSet {
 public:
  BorrowedSet() : own_(&Scope::Of(set_)) {}
  BorrowedSet(const BorrowedSet&) = delete;
  BorrowedSet& operator=(const BorrowedSet&) = delete;
  ~BorrowedSet() { Scope::Lead(set_, *own_); }

  Scope& Current() noexcept { return Scope::Of(set_); }
  // The set, which from now on stands for `scope`.
  TavKelValueSet* Over(Scope& scope) noexcept {
    Scope::Lead(set_, scope);
    return &set_;
  }

 private:
  TavKelValueSet set_;
  Scope* own_;
};

}  // namespace kel

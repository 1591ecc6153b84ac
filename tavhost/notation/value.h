#pragma once

#include <cassert>
#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "host/base/string.h"
#include "host/notation/kel_value.h"
#include "host/notation/kel_value_type.h"

// Values as the host holds them: small, copied by sharing. TavKelValue is one of these on the heap.
namespace kel {

class Value;
class Document;
struct Element;

// A parsed body: `count` elements that live as long as their document.
struct BodyData {
  std::uint32_t sharers = 1;
  std::shared_ptr<const Document> document;
  const Element* elements = nullptr;
  std::uint32_t count = 0;
};

struct ListData;
struct RecordData;

// A value of any kind, or none (kind 0). 16 bytes. Copying shares: lists and records are values,
// and whoever changes a shared one first gets a copy of its own (one level deep, the items are
// shared again). Destroying never recurses, however deep lists lie in lists.
class Value {
 public:
  static constexpr std::uint8_t kNone = 0;

  Value() noexcept : kind_(kNone) { bits_.whole = 0; }
  explicit Value(std::int32_t integer) noexcept : kind_(TavKelInteger) {
    bits_.whole = 0;
    bits_.integer = integer;
  }
  explicit Value(double real) noexcept : kind_(TavKelReal) { bits_.real = real; }
  explicit Value(SV::String text, TavKelValueType kind = TavKelString) noexcept
      : kind_(static_cast<std::uint8_t>(kind)) {
    new (&bits_.text) SV::String(std::move(text));
  }
  static Value List();
  static Value Record();
  static Value Body(std::shared_ptr<const Document> document, const Element* elements,
                    std::uint32_t count);

  Value(const Value& other) noexcept : kind_(other.kind_) {
    if (IsShared()) {
      Share(other);
    } else {
      bits_.whole = other.bits_.whole;
    }
  }
  Value(Value&& other) noexcept : kind_(other.kind_) {
    bits_.whole = other.bits_.whole;
    other.kind_ = kNone;
  }
  Value& operator=(const Value& other) noexcept {
    Value copy(other);
    Swap(copy);
    return *this;
  }
  Value& operator=(Value&& other) noexcept {
    Value taken(std::move(other));
    Swap(taken);
    return *this;
  }
  ~Value() {
    if (IsShared()) Release();
  }

  void SetInteger(std::int32_t integer) noexcept {
    if (IsShared()) Release();
    kind_ = TavKelInteger;
    bits_.integer = integer;
  }
  void SetReal(double real) noexcept {
    if (IsShared()) Release();
    kind_ = TavKelReal;
    bits_.real = real;
  }

  void Swap(Value& other) noexcept {
    std::swap(bits_.whole, other.bits_.whole);
    std::swap(kind_, other.kind_);
  }

  // A TavKelValueType, or kNone.
  std::uint8_t Kind() const noexcept { return kind_; }
  bool IsNone() const noexcept { return kind_ == kNone; }
  bool IsText() const noexcept { return kind_ == TavKelString || kind_ == TavKelWord; }

  // Each of the following is only for a value of its kind; nothing checks that here.
  std::int32_t Integer() const noexcept { return bits_.integer; }
  double Real() const noexcept { return bits_.real; }
  // Of a string or a word.
  const SV::String& Text() const noexcept { return bits_.text; }
  SV::String& MutableText() noexcept { return bits_.text; }
  // The Mutable... ones make sure first that nobody else shares the list or record.
  const ListData& AsList() const noexcept { return *bits_.list; }
  ListData& MutableList();
  const RecordData& AsRecord() const noexcept { return *bits_.record; }
  RecordData& MutableRecord();
  const BodyData& AsBody() const noexcept { return *bits_.body; }

  // The value inside a TavKelValue.
  static Value& Of(TavKelValue& boxed) noexcept {
    return *reinterpret_cast<Value*>(boxed.storage_);
  }
  static const Value& Of(const TavKelValue& boxed) noexcept {
    return *reinterpret_cast<const Value*>(boxed.storage_);
  }

 private:
  union Bits {
    Bits() {}
    ~Bits() {}
    std::uint64_t whole;  // what is moved: every member fits in it
    std::int32_t integer;
    double real;
    SV::String text;
    ListData* list;
    RecordData* record;
    BodyData* body;
  };

  // Integers (2), reals (3) and none need no counting; one mask tests for the first two.
  bool IsShared() const noexcept { return kind_ != kNone && (kind_ & ~1u) != TavKelInteger; }
  void Share(const Value& other) noexcept;
  void Release() noexcept;

  Bits bits_;
  std::uint8_t kind_;
};

static_assert(sizeof(Value) == 16 && sizeof(SV::String) == sizeof(std::uint64_t));

// The items of a list, shared by `sharers` values. When none shares it any more and it waits to be
// destroyed, `next` leads to what waits behind it, in the same place: destroying takes no memory.
struct ListData {
  union {
    std::uint32_t sharers = 1;
    std::uintptr_t next;
  };
  std::vector<Value> items;
};

struct Field {
  SV::String name;
  Value value;
};

// Fields in the order in which they were first set; names are unique. Fields may be added to the
// end of `fields` at will; none is ever taken out or renamed.
struct RecordData {
  union {
    std::uint32_t sharers = 1;
    std::uintptr_t next;  // as in ListData
  };
  std::vector<Field> fields;

  const Value* Find(std::string_view name) const;  // null when absent
  Value& At(const SV::String& name);               // made, without a value, when absent

  // A record of many fields finds them by a hash of the name: open addressing, at most half full,
  // a field's number counted from 1.
  mutable std::vector<std::uint32_t> slots;
  mutable std::size_t indexed = 0;  // so many fields are in it

 private:
  void Index() const;
  std::uint32_t* SlotOf(std::string_view name) const;
};

}  // namespace kel

#include "tavhost/notation/value.h"

#include <functional>
#include <memory>
#include <string_view>
#include <utility>

namespace kel {

namespace {

// Lists and records whose last sharer went. Destroying one releases what it holds, which can be the
// last sharer of further ones; instead of recursing, these wait until the outermost release comes
// to them. Each leads to the next; a record's address has its lowest bit set, and 0 ends them.
constexpr std::uintptr_t kIsRecord = 1;

thread_local bool isReleasing = false;
thread_local std::uintptr_t firstDoomed = 0;

std::uintptr_t AddressOf(ListData* list) { return reinterpret_cast<std::uintptr_t>(list); }
std::uintptr_t AddressOf(RecordData* record) {
  return reinterpret_cast<std::uintptr_t>(record) | kIsRecord;
}

void DestroyDoomed() noexcept {
  while (firstDoomed != 0) {
    const std::uintptr_t doomed = firstDoomed;
    if ((doomed & kIsRecord) != 0) {
      auto* const record = reinterpret_cast<RecordData*>(doomed & ~kIsRecord);
      firstDoomed = record->next;
      delete record;
    } else {
      auto* const list = reinterpret_cast<ListData*>(doomed);
      firstDoomed = list->next;
      delete list;
    }
  }
}

template <typename Data>
void TakeApart(Data* doomed) noexcept {
  doomed->next = std::exchange(firstDoomed, AddressOf(doomed));
  if (isReleasing) return;
  isReleasing = true;
  DestroyDoomed();
  isReleasing = false;
}

}  // namespace

Value Value::List() {
  Value value;
  value.bits_.list = new ListData;
  value.kind_ = TavKelList;
  return value;
}

Value Value::Record() {
  Value value;
  value.bits_.record = new RecordData;
  value.kind_ = TavKelRecord;
  return value;
}

Value Value::Body(std::shared_ptr<const Document> document, const Element* elements,
                  std::uint32_t count) {
  Value value;
  value.bits_.body = new BodyData{1, std::move(document), elements, count};
  value.kind_ = TavKelBody;
  return value;
}

void Value::Share(const Value& other) noexcept {
  if (IsText()) {
    new (&bits_.text) SV::String(other.bits_.text);
    return;
  }
  bits_.whole = other.bits_.whole;
  switch (kind_) {
    case TavKelList:
      ++bits_.list->sharers;
      break;
    case TavKelRecord:
      ++bits_.record->sharers;
      break;
    case TavKelBody:
      ++bits_.body->sharers;
      break;
    default:
      break;
  }
}

void Value::Release() noexcept {
  switch (kind_) {
    case TavKelString:
    case TavKelWord:
      bits_.text.~String();
      break;
    case TavKelList:
      if (--bits_.list->sharers == 0) TakeApart(bits_.list);
      break;
    case TavKelRecord:
      if (--bits_.record->sharers == 0) TakeApart(bits_.record);
      break;
    case TavKelBody:
      if (--bits_.body->sharers == 0) delete bits_.body;
      break;
    default:
      break;
  }
}

ListData& Value::MutableList() {
  if (bits_.list->sharers > 1) {
    auto* own = new ListData{{1}, bits_.list->items};
    --bits_.list->sharers;
    bits_.list = own;
  }
  return *bits_.list;
}

namespace {
RecordData* CopyOf(const RecordData& record) {
  auto copy = std::make_unique<RecordData>();
  copy->fields = record.fields;
  return copy.release();
}
}  // namespace

RecordData& Value::MutableRecord() {
  if (bits_.record->sharers > 1) {
    auto* own = CopyOf(*bits_.record);
    --bits_.record->sharers;
    bits_.record = own;
  }
  return *bits_.record;
}

const Value* RecordData::Find(std::string_view name) const {
  constexpr std::size_t kFewFields = 12;  // found faster one by one
  if (fields.size() <= kFewFields) {
    for (const Field& field : fields) {
      if (field.name.View() == name) return &field.value;
    }
    return nullptr;
  }
  if (indexed != fields.size()) Index();
  const std::uint32_t slot = *SlotOf(name);
  return slot == 0 ? nullptr : &fields[slot - 1].value;
}

// The slot of the name's field, or the free one where it would be.
std::uint32_t* RecordData::SlotOf(std::string_view name) const {
  const std::size_t mask = slots.size() - 1;
  std::size_t at = std::hash<std::string_view>()(name) & mask;
  while (slots[at] != 0 && fields[slots[at] - 1].name.View() != name) at = (at + 1) & mask;
  return &slots[at];
}

// Takes in the fields that were added since the last time.
void RecordData::Index() const {
  if (indexed == 0 || indexed > fields.size() || fields.size() * 2 > slots.size()) {
    std::size_t wanted = 64;
    while (wanted < fields.size() * 4) wanted *= 2;
    slots.assign(wanted, 0);
    indexed = 0;
  }
  for (; indexed < fields.size(); ++indexed) {
    std::uint32_t* const slot = SlotOf(fields[indexed].name.View());
    if (*slot == 0) *slot = static_cast<std::uint32_t>(indexed + 1);
  }
}

Value& RecordData::At(const SV::String& name) {
  if (const Value* found = Find(name.View())) return const_cast<Value&>(*found);
  fields.push_back({name, Value()});
  return fields.back().value;
}

}  // namespace kel

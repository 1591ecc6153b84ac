#include "tavhost/notation/value.h"

#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <string_view>
#include <utility>

#include "tavhost/base/coarse_clock.h"
#include "tavhost/base/event_loop.h"
#include "tavhost/base/stop.h"
#include "tavhost/notation/freeing.h"

namespace kel {

namespace {

// Lists and records whose last sharer went. Destroying one releases what it holds, which can be the
// last sharer of further ones; instead of recursing, these wait until the outermost release comes
// to them. Each leads to the next; a record's address has its lowest bit set, and 0 ends them.
constexpr std::uintptr_t kIsRecord = 1;

constexpr int kBetweenLooks = 4096;       // at the clock, in values
constexpr std::uint32_t kPatience = 100;  // milliseconds behind a stop
constexpr std::uint32_t kBrief = 50;
constexpr std::uint32_t kPiece = 5;

struct Chain {
  std::uintptr_t first = 0;
  std::uintptr_t last = 0;  // while there is a first
};

thread_local bool isReleasing = false;
thread_local Chain doomed;
thread_local Chain left;  // for later: see freeing.h
thread_local bool mayLeave = false;
thread_local bool isLaterPosted = false;
// Until when freeing may take, behind a stop and otherwise; nothing: as long as it takes.
thread_local std::optional<std::uint32_t> stopLimit;
thread_local std::optional<std::uint32_t> limit;

std::uintptr_t AddressOf(ListData* list) { return reinterpret_cast<std::uintptr_t>(list); }
std::uintptr_t AddressOf(RecordData* record) {
  return reinterpret_cast<std::uintptr_t>(record) | kIsRecord;
}

bool IsRecord(std::uintptr_t address) { return (address & kIsRecord) != 0; }
ListData* ListAt(std::uintptr_t address) { return reinterpret_cast<ListData*>(address); }
RecordData* RecordAt(std::uintptr_t address) {
  return reinterpret_cast<RecordData*>(address & ~kIsRecord);
}

std::uintptr_t& NextOf(std::uintptr_t address) {
  return IsRecord(address) ? RecordAt(address)->next : ListAt(address)->next;
}

void Push(std::uintptr_t address) {
  if (doomed.first == 0) doomed.last = address;
  NextOf(address) = std::exchange(doomed.first, address);
}

// The clock starts anew now and then: what is over is told by the difference.
bool IsOver(std::uint32_t until) {
  return static_cast<std::int32_t>(base::CoarseMilliseconds() - until) >= 0;
}

bool TakesTooLong() {
  if (!mayLeave) return false;
  if (limit && IsOver(*limit)) return true;
  if (!stop::IsRequested()) {
    stopLimit.reset();
    return false;
  }
  if (!stopLimit) stopLimit = base::CoarseMilliseconds() + kPatience;
  return IsOver(*stopLimit);
}

// False when something of it is left.
template <typename Data, typename Item>
bool Free(Data* data, std::vector<Item>& items) {
  while (items.size() > kBetweenLooks) {
    items.erase(items.end() - kBetweenLooks, items.end());
    if (TakesTooLong()) return false;
  }
  delete data;
  return true;
}

void FreeLeft() noexcept;

// All that is doomed is for later.
void Leave() noexcept {
  if (left.first == 0) left.last = doomed.last;
  NextOf(doomed.last) = left.first;
  left.first = std::exchange(doomed.first, 0);
  if (isLaterPosted) return;
  try {
    event_loop::Post(FreeLeft);
    isLaterPosted = true;
  } catch (const std::bad_alloc&) {
    // The next that is left posts it.
  }
}

void DestroyDoomed() noexcept {
  int untilLook = kBetweenLooks;
  while (doomed.first != 0) {
    if (untilLook-- == 0) {
      if (TakesTooLong()) return Leave();
      untilLook = kBetweenLooks;
    }
    const std::uintptr_t address = doomed.first;
    doomed.first = NextOf(address);
    const bool isFreed = IsRecord(address) ? Free(RecordAt(address), RecordAt(address)->fields)
                                           : Free(ListAt(address), ListAt(address)->items);
    if (isFreed) continue;
    Push(address);
    return Leave();
  }
}

void FreeLeft() noexcept {
  isLaterPosted = false;
  if (isReleasing || left.first == 0) return;
  isReleasing = true;
  doomed = std::exchange(left, {});
  const auto before = std::exchange(limit, base::CoarseMilliseconds() + kPiece);
  DestroyDoomed();
  limit = before;
  isReleasing = false;
}

template <typename Data>
void TakeApart(Data* data) noexcept {
  Push(AddressOf(data));
  if (isReleasing) return;
  isReleasing = true;
  DestroyDoomed();
  isReleasing = false;
}

}  // namespace

void LetFreeingWait() noexcept { mayLeave = true; }

BriefFreeing::BriefFreeing() noexcept { limit = base::CoarseMilliseconds() + kBrief; }

BriefFreeing::~BriefFreeing() { limit.reset(); }

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

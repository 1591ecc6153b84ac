#include "tavhost/notation/value.h"

#include <functional>
#include <string_view>

namespace kel {

namespace {

// A list or record whose last sharer went. Destroying it releases what it holds, which can be the
// last sharer of further ones; instead of recursing, these wait on a stack until the outermost
// release comes to them. One of the two pointers is null.
struct Doomed {
  ListData* list;
  RecordData* record;
};

// Few wait at a time as a rule; those need no memory.
class DoomedStack {
 public:
  void Push(Doomed doomed) {
    if (count_ < kFew) {
      few_[count_++] = doomed;
    } else {
      more_.push_back(doomed);
    }
  }
  bool Pop(Doomed& doomed) {
    if (!more_.empty()) {
      doomed = more_.back();
      more_.pop_back();
    } else if (count_ > 0) {
      doomed = few_[--count_];
    } else {
      return false;
    }
    return true;
  }

 private:
  static constexpr std::size_t kFew = 32;

  Doomed few_[kFew];
  std::size_t count_ = 0;
  std::vector<Doomed> more_;
};

thread_local DoomedStack* doomedStack = nullptr;  // while a release is going on

void TakeApart(Doomed first) {
  if (doomedStack) {
    doomedStack->Push(first);
    return;
  }
  DoomedStack stack;
  doomedStack = &stack;
  do {
    delete first.list;
    delete first.record;
  } while (stack.Pop(first));
  doomedStack = nullptr;
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
      if (--bits_.list->sharers == 0) TakeApart({bits_.list, nullptr});
      break;
    case TavKelRecord:
      if (--bits_.record->sharers == 0) TakeApart({nullptr, bits_.record});
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
    auto* own = new ListData{1, bits_.list->items};
    --bits_.list->sharers;
    bits_.list = own;
  }
  return *bits_.list;
}

namespace {
RecordData* CopyOf(const RecordData& record) {
  auto* const copy = new RecordData;
  copy->fields = record.fields;
  return copy;
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

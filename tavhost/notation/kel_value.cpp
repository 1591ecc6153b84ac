#include "host/notation/kel_value.h"

#include <memory>
#include <new>

#include "tavhost/base/buffer_memory.h"
#include "tavhost/base/refused_memory.h"
#include "tavhost/notation/allocation_hook.h"
#include "tavhost/notation/kel_text.h"
#include "tavhost/notation/value.h"

namespace kel {

namespace {
bool failNext = false;
}

void FailNextAllocation() { failNext = true; }

}  // namespace kel

using kel::Value;

static_assert(sizeof(TavKelValue) == sizeof(Value) && alignof(TavKelValue) >= alignof(Value));

void* TavKelValue::operator new(std::size_t size) noexcept {
  if (kel::failNext) [[unlikely]] {
    kel::failNext = false;
    refused_memory::Note();
    return nullptr;
  }
  try {
    return buffer_memory::Allocate(size);
  } catch (const std::bad_alloc&) {
    refused_memory::Note();
    return nullptr;
  }
}

void TavKelValue::operator delete(void* memory) {
  if (memory) buffer_memory::Free(memory, sizeof(TavKelValue));
}

TavKelValue::TavKelValue(long integer) { new (storage_) Value(static_cast<std::int32_t>(integer)); }

TavKelValue::TavKelValue(SV::String* ownedHeapString) {
  const std::unique_ptr<SV::String> owned(ownedHeapString);
  new (storage_) Value(owned ? std::move(*owned) : SV::String());
}

TavKelValue::TavKelValue(TavKelValueType listType) {
  new (storage_) Value(listType == TavKelList     ? Value::List()
                       : listType == TavKelRecord ? Value::Record()
                                                  : Value());
}

TavKelValue::~TavKelValue() { Value::Of(*this).~Value(); }

TavKelValueType TavKelValue::GetType() const {
  return static_cast<TavKelValueType>(Value::Of(*this).Kind());
}

void TavKelValue::Append(TavKelValue* element) {
  const std::unique_ptr<TavKelValue> owned(element);
  Value& self = Value::Of(*this);
  if (!owned || self.Kind() != TavKelList) return;
  self.MutableList().items.push_back(std::move(Value::Of(*owned)));
}

SV::String TavKelValue::GetText(bool quoted) const {
  const Value& self = Value::Of(*this);
  if (!quoted && self.IsText()) return self.Text();
  SV::String text;
  kel::AppendText(text, self, quoted);
  return text;
}

void TavKelValue::MoveValue(const SV::String& name, TavKelValue* value) {
  const std::unique_ptr<TavKelValue> owned(value);
  Value& self = Value::Of(*this);
  if (!owned || self.Kind() != TavKelRecord) return;
  self.MutableRecord().At(name) = std::move(Value::Of(*owned));
}

#pragma once

#include <cstddef>

#include "host/base/string.h"
#include "host/export.h"
#include "host/notation/kel_value_type.h"

namespace kel {
class Value;
}

// One value, which always lies on the heap: whoever gets its pointer owns it.
class TAV_HOST_API TavKelValue {
 public:
  // Null when there is no memory; a new-expression then yields null and runs no constructor.
  static void* operator new(std::size_t size) noexcept;
  static void operator delete(void* memory);

  explicit TavKelValue(long integer);  // kept as 32 bits
  explicit TavKelValue(SV::String* ownedHeapString);
  explicit TavKelValue(TavKelValueType listType);  // TavKelList or TavKelRecord: an empty one
  TavKelValue(const TavKelValue&) = delete;
  TavKelValue& operator=(const TavKelValue&) = delete;
  ~TavKelValue();

  TavKelValueType GetType() const;
  void Append(TavKelValue* element);  // to a list; takes ownership, null is ignored
  // The text form: a string's bytes, a number's digits, the inside of a list or record (items
  // joined by ", "). `quoted` gives a string or word as its KEL literal.
  SV::String GetText(bool quoted) const;
  // Sets a record's field; takes ownership, null is ignored.
  void MoveValue(const SV::String& name, TavKelValue* value);

 private:
  friend class kel::Value;
  alignas(8) unsigned char storage_[16];
};

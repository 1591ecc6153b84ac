#pragma once

#include "host/base/forward.h"
#include "host/export.h"
#include "host/notation/forward.h"

namespace kel {
class Scope;
}

// The named values of one scope of a script. Reading looks outwards through the enclosing scopes;
// writing stays inside.
class TAV_HOST_API TavKelValueSet {
 public:
  TavKelValueSet();
  explicit TavKelValueSet(TavKelValueSet* enclosingScope);
  TavKelValueSet(const TavKelValueSet&) = delete;
  TavKelValueSet& operator=(const TavKelValueSet&) = delete;
  ~TavKelValueSet();

  // Puts `value` under `name`, replacing what stood there; takes ownership, null is ignored.
  void OldMoveValue(const SV::String& name, TavKelValue* value, bool unused);

 private:
  friend class kel::Scope;
  kel::Scope* scope_;
};

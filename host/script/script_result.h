#pragma once

#include "host/base/string.h"
#include "host/export.h"
#include "host/notation/forward.h"

// Receives a command's result variables in one of three ways: into the value set of the calling
// script, else into an object value, else as KEL text. Beside them stands at most one error.
// Owns only its text and its error.
class TAV_HOST_API TavScriptResult {
 public:
  TavScriptResult();  // text
  explicit TavScriptResult(TavKelValueSet* variables, TavKelValue* object = nullptr);
  explicit TavScriptResult(TavKelValue* object);

  TavKelValueSet* GetValueSet() { return variables_; }
  TavKelValue* GetObject() { return object_; }
  SV::String& GetText() { return text_; }

  // The first error is kept. In text mode it is also appended to the text as ` error:"…"`.
  void SetError(const SV::String& message);
  bool HasError() const { return hasError_; }
  const SV::String& GetError() const { return error_; }

 private:
  TavKelValueSet* variables_ = nullptr;
  TavKelValue* object_ = nullptr;
  SV::String text_;
  SV::String error_;
  bool hasError_ = false;
};

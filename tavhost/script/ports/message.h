#pragma once

#include "host/script/script_result.h"

// A message on its way through a port: it brings a command's reply back as text. Plug-ins get it
// from the host and hand it to their handler array; what is in it is the host's business alone.
class TavMessage {
 public:
  TavMessage() = default;
  TavMessage(const TavMessage&) = delete;
  TavMessage& operator=(const TavMessage&) = delete;

  TavScriptResult& Result() { return result_; }
  // The reply as it stands, the leading blank of each variable included.
  const SV::String& Reply() { return result_.GetText(); }
  bool HasError() const { return result_.HasError(); }

 private:
  TavScriptResult result_;
};

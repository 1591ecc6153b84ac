#pragma once

#include "host/base/string.h"
#include "host/export.h"
#include "host/notation/message_port.h"

// A port that can list its commands.
class TAV_HOST_API TavExtendedMessagePort : public TavMessagePort {
 public:
  // The names of its commands, joined by the separator.
  virtual SV::String GetAllCommands(char separator);
};

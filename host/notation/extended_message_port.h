#pragma once

#include "host/export.h"
#include "host/notation/message_port.h"
#include "host/base/string.h"

// A port that can list its commands.
class TAV_HOST_API TavExtendedMessagePort : public TavMessagePort {
 public:
  virtual SV::String GetAllCommands(char separator);
};

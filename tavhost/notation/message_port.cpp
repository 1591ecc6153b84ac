#include "host/notation/message_port.h"

#include "host/notation/extended_message_port.h"
#include "tavhost/base/trace.h"

TavMessagePort::~TavMessagePort() = default;

const char* TavMessagePort::TavScript() {
  trace::Call call("TavMessagePort::TavScript");
  return call.Result("TavScript");
}

SV::String TavExtendedMessagePort::GetAllCommands(char separator) { return SV::String(); }

#include "host/notation/message_port_manager.h"

#include "host/base/string.h"
#include "host/notation/extended_message_port.h"
#include "host/notation/message_port.h"
#include "tavhost/base/trace.h"

namespace {

TavMessagePortManager& TheManager() {
  static TavMessagePortManager manager;
  return manager;
}

// Ports are made by whoever serves them; for the trace they are named when first handed out.
TavMessagePort* Named(TavMessagePort* port) {
  if (!port || !trace::IsOpen() || trace::detail::ObjectText(port) != "?") return port;
  const bool isExtended = dynamic_cast<TavExtendedMessagePort*>(port) != nullptr;
  trace::Name(isExtended ? "TavExtendedMessagePort" : "TavMessagePort", port);
  return port;
}

}  // namespace

TavMessagePortManager& TavMessagePortManager::Instance() {
  TavMessagePortManager& manager = TheManager();
  if (trace::IsOpen()) trace::NameFixed("TavMessagePortManager", &manager);
  trace::Call call("TavMessagePortManager::Instance");
  return *call.ResultObject(&manager);
}

const char* TavMessagePortManager::GetMPNameStrAddress(const SV::String& name) {
  trace::Call call("TavMessagePortManager::GetMPNameStrAddress", name);
  // A port's name ends at its first NUL, so a name with one in it names none.
  const bool isName = name.View().find('\0') == std::string_view::npos;
  const auto port = isName ? m_ports.find(name.GetStr()) : m_ports.end();
  return call.Result(port == m_ports.end() ? nullptr : port->first);
}

TavMessagePort* TavMessagePortManager::FindMessagePort(const char* key) {
  trace::Call call("TavMessagePortManager::FindMessagePort", key);
  const auto port = key ? m_ports.find(key) : m_ports.end();
  const bool found = port != m_ports.end() && port->first == key;
  return call.ResultObject(found ? Named(port->second) : nullptr);
}

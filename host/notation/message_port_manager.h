#pragma once

#include <cstring>
#include <map>

#include "host/base/forward.h"
#include "host/export.h"
#include "host/notation/forward.h"

// All message ports by name. Owns neither the ports nor the names.
class TAV_HOST_API TavMessagePortManager {
 public:
  struct Less {
    bool operator()(const char* a, const char* b) const { return std::strcmp(a, b) < 0; }
  };

  // Whoever serves a port enters it here and takes it out before it ends.
  std::map<const char*, TavMessagePort*, Less> m_ports;

  static TavMessagePortManager& Instance();

  // The manager's own pointer for a port's name, null when no port has it.
  const char* GetMPNameStrAddress(const SV::String& name);
  // The port stored under that very pointer, null for any other.
  TavMessagePort* FindMessagePort(const char* key);
};

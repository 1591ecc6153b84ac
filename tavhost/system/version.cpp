#include "host/system/version.h"

#include "tavhost/base/trace.h"

// TAVHOST_VERSION_MAJOR, _MINOR and _PATCH come from the project's version.
int Tav_GetVersionIdentifier() {
  trace::Call call("Tav_GetVersionIdentifier");
  return call.Result(TAVHOST_VERSION_MAJOR * 10000 + TAVHOST_VERSION_MINOR * 100 +
                     TAVHOST_VERSION_PATCH);
}

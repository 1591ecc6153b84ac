#pragma once

#include "host/export.h"
#include "host/script/forward.h"

// How much the service logs of each request, and whether into the host's window, if it has one, or
// to the console.
enum TavWSLogFormat {
  TavWSLogShort = 0,
  TavWSLogLong = 1,
};

enum TavWSLogType {
  TavWSLogTextField = 2,
  TavWSLogConsole = 3,
};

// The script service: other programs on this machine send scripts and commands over HTTP.
class TAV_HOST_API TavScriptService {
 public:
  // False, with a message that names the port, when the service runs already or the port cannot
  // be had. `backlog` requests may wait. The logger is not used by this host.
  static bool Start(int port, int backlog, TavWSLogFormat format, TavWSLogType type,
                    TavBasicFileLogger* logger, bool unused);
  static bool Stop();  // false when it does not run
  static bool IsRunning();
};

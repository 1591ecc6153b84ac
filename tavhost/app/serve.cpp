#include <cstdio>
#include <string>
#include <tl/expected.hpp>

#include "host/script/script_service.h"
#include "tavhost/app/exit_codes.h"
#include "tavhost/app/host.h"
#include "tavhost/app/outcome.h"
#include "tavhost/app/standard_streams.h"
#include "tavhost/app/subcommands.h"
#include "tavhost/base/stop.h"
#include "tavhost/service/script_service.h"

namespace app {

namespace {

constexpr int kBacklog = 100;

}  // namespace

int FinishServing(const Options& options, int exitCode) {
  if (!TavScriptService::IsRunning()) return exitCode;
  std::fflush(stdout);
  script::service::ServeUntilStopped();
  if (stop::IsRequested()) {
    ReportStop(stop::Requested(), options);
    exitCode = ExitCodeOf(stop::Requested());
  }
  script::service::Shutdown();
  return exitCode;
}

int ServeScripts(const CommandLine& line) {
  const auto host = Host::Start(line.options);
  if (!host) return host.error();
  if (!TavScriptService::Start(line.port, kBacklog, TavWSLogShort, TavWSLogConsole, nullptr,
                               true)) {
    return kExitScriptError;
  }
  Print("listening on http://127.0.0.1:" + std::to_string(script::service::Port()) +
        "\ntoken file: " + script::service::TokenFilePath() + "\n");
  return FinishServing(line.options, kExitSuccess);
}

}  // namespace app

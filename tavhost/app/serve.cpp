#include <cstdio>
#include <string>
#include <tl/expected.hpp>
#include <vector>

#include "host/script/script_service.h"
#include "tavhost/app/exit_codes.h"
#include "tavhost/app/host.h"
#include "tavhost/app/outcome.h"
#include "tavhost/app/standard_streams.h"
#include "tavhost/app/subcommands.h"
#include "tavhost/base/report.h"
#include "tavhost/base/stop.h"
#include "tavhost/service/address.h"
#include "tavhost/service/script_service.h"

namespace app {

namespace {

constexpr int kBacklog = 100;

// Before the service starts: from then on, whoever the line warns of can send requests.
void WarnOfNetworks(const std::vector<std::string>& addresses) {
  std::string exposed;
  for (const std::string& address : addresses) {
    if (script::service::IsLoopback(address)) continue;
    exposed += (exposed.empty() ? "" : ", ") + address;
  }
  if (exposed.empty()) return;
  report::Line("tavhost: warning: other machines reach the service at " + exposed +
               "; nothing is encrypted, and who reads the token can do all that you can");
}

std::string ListeningText(const std::vector<std::string>& addresses) {
  const std::string port = ':' + std::to_string(script::service::Port()) + '\n';
  if (addresses.empty()) return "listening on http://127.0.0.1" + port;
  std::string text;
  for (const std::string& address : addresses) {
    text += "listening on http://" + script::service::UrlHost(address) + port;
  }
  return text;
}

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
  script::service::SetHostOptions({line.addresses, line.allowCrash, line.replyLimit});
  WarnOfNetworks(line.addresses);
  if (!script::service::Serve(line.port, kBacklog)) return kExitScriptError;
  Print(ListeningText(line.addresses) + "token file: " + script::service::TokenFilePath() + "\n");
  return FinishServing(line.options, kExitSuccess);
}

}  // namespace app

#include <algorithm>
#include <chrono>
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
#include "tavhost/service/manager.h"
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

std::string ListeningText(const script::service::HostOptions& options) {
  std::string text;
  for (const int socket : options.inherited) {
    text += "listening on descriptor " + std::to_string(socket) + '\n';
  }
  if (!options.socket.empty()) text += "listening on unix:" + options.socket + '\n';
  if (!options.listensOnPort) return text;
  const std::string port = ':' + std::to_string(script::service::Port()) + '\n';
  const std::vector<std::string>& addresses = options.addresses;
  if (addresses.empty()) return text + "listening on http://127.0.0.1" + port;
  for (const std::string& address : addresses) {
    text += "listening on http://" + script::service::UrlHost(address) + port;
  }
  return text;
}

// Where a manager has opened sockets, or a path is given, a port is listened on only if it is asked
// for.
script::service::HostOptions ServiceOptions(const CommandLine& line) {
  script::service::HostOptions options = script::service::GetHostOptions();
  options.addresses = line.addresses;
  options.allowCrash = line.allowCrash;
  options.replyLimit = line.replyLimit;
  options.inherited = script::service::manager::TakeSockets();
  options.socket = line.socket;
  options.listensOnPort =
      line.port || !line.addresses.empty() || (options.socket.empty() && options.inherited.empty());
  options.tokenFile = line.tokenFile;
  if (line.requestSeconds > 0) {
    const auto least = std::chrono::milliseconds(1);
    const auto time = std::chrono::duration<double>(line.requestSeconds);
    options.requestTime = std::max(least, std::chrono::round<std::chrono::milliseconds>(time));
  }
  return options;
}

}  // namespace

int FinishServing(const Options& options, int exitCode) {
  if (!TavScriptService::IsRunning()) return exitCode;
  FlushOutput();
  script::service::ServeUntilStopped();
  script::service::manager::TellStopping();
  if (stop::IsRequested()) {
    ReportStop(stop::Requested(), options);
    exitCode = ExitCodeOf(stop::Requested());
  }
  script::service::Shutdown();
  // Whoever started the service cannot hear of it any more.
  if (!FinishOutput()) exitCode = kExitScriptError;
  return exitCode;
}

int ServeScripts(const CommandLine& line) {
  const auto host = Host::Start(line.options);
  if (!host) return host.error();
  const script::service::HostOptions options = ServiceOptions(line);
  script::service::SetHostOptions(options);
  WarnOfNetworks(options.addresses);
  if (!script::service::Serve(line.port.value_or(0), kBacklog)) return kExitScriptError;
  Print(ListeningText(options) + "token file: " + script::service::TokenFilePath() + "\n");
  if (FinishOutput()) script::service::manager::TellReady();
  return FinishServing(line.options, kExitSuccess);
}

}  // namespace app

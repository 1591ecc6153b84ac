#include "tavhost/service/script_service.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <thread>
#include <tl/expected.hpp>
#include <vector>

#include "host/script/script_service.h"
#include "tavhost/base/dry_run.h"
#include "tavhost/base/environment.h"
#include "tavhost/base/event_loop.h"
#include "tavhost/base/report.h"
#include "tavhost/base/standard_write.h"
#include "tavhost/base/stop.h"
#include "tavhost/base/trace.h"
#include "tavhost/script/ports/ports.h"
#include "tavhost/service/log.h"
#include "tavhost/service/queue.h"
#include "tavhost/service/server.h"
#include "tavhost/service/token.h"

namespace script::service {

namespace {

// A service from its start until its last reply is sent.
struct Service {
  Service(std::size_t limit, std::string newToken) : queue(limit), token(std::move(newToken)) {}

  Queue queue;
  std::string token;
  std::optional<TokenFile> file;
  std::unique_ptr<Server> server;  // ends before the queue
};

// By these a script learns where the service listens that it has started, at any free port too.
constexpr char kPortVariable[] = "TAVHOST_SERVICE_PORT";
constexpr char kTokenFileVariable[] = "TAVHOST_SERVICE_TOKEN_FILE";

HostOptions hostOptions;
std::function<void(const std::string&)> logField;
std::unique_ptr<Service> running;
std::vector<std::unique_ptr<Service>> ending;  // stopped, with replies still under way

// Always false, for those who do not start.
bool Refused(const std::string& reason) {
  report::Line("script service: " + reason);
  return false;
}

bool Refused(int port, const std::string& reason) {
  const std::string where =
      hostOptions.listensOnPort ? "port " + std::to_string(port) + ": " : std::string();
  return Refused(where + reason);
}

std::function<void(const LogEntry&)> Logger(TavWSLogFormat format, TavWSLogType type,
                                            const std::string& token) {
  if (hostOptions.quiet) return {};
  return [format, type, token](const LogEntry& entry) {
    const std::string line = LogLine(entry, format, token) + '\n';
    if (type == TavWSLogTextField) {
      event_loop::Post([line] {
        if (logField) {
          logField(line);
        } else {
          report::Line(line);
        }
      });
    } else {
      report::Line(line);
    }
  };
}

void ForgetEnded() {
  std::erase_if(ending, [](const auto& service) {
    return service->server->HasEnded() && !service->queue.IsRunning();
  });
}

void ForgetVariables() {
  base::ChangeEnvironment(kPortVariable, std::nullopt);
  base::ChangeEnvironment(kTokenFileVariable, std::nullopt);
}

bool StartService(int port, int backlog, TavWSLogFormat format, TavWSLogType type) {
  ForgetEnded();
  if (running) {
    return Refused(port,
                   "the service runs already, on port " + std::to_string(running->server->Port()));
  }
  if (port < 0 || port > 65535) {
    return Refused(port, "there is no such port");
  }
  report::NeverWait();  // a log that nobody reads must not hold up the service
  auto service =
      std::make_unique<Service>(static_cast<std::size_t>(std::max(backlog, 1)), NewToken());
  if (!hostOptions.tokenFile.empty()) {
    base::Result<TokenFile> file = TokenFile::WriteOrRead(service->token, hostOptions.tokenFile);
    if (!file) return Refused(file.error().message);
    service->file = std::move(*file);
  }
  ServerOptions options;
  options.port = static_cast<std::uint16_t>(port);
  options.backlog = backlog;
  options.token = service->token;
  options.inherited = hostOptions.inherited;
  options.socket = hostOptions.socket;
  options.listensOnPort = hostOptions.listensOnPort;
  options.addresses = hostOptions.addresses;
  if (options.addresses.empty()) {
    options.addresses = {kUsualAddress};
    options.optionalAddress = "::1";
  }
  options.queue = &service->queue;
  options.log = Logger(format, type, service->token);
  base::Result<std::unique_ptr<Server>> server = Server::Start(std::move(options));
  if (!server) return Refused(port, server.error().message);
  service->server = std::move(*server);
  // Where it listens nobody else does: what stands in the place of its token belongs to nobody.
  if (!service->file) {
    const auto& addresses = hostOptions.addresses;
    const std::string address = addresses.empty() ? std::string() : addresses.front();
    base::Result<TokenFile> file =
        hostOptions.socket.empty()
            ? TokenFile::Write(service->token, address, service->server->Port())
            : TokenFile::WriteBeside(service->token, hostOptions.socket);
    if (!file) return Refused(file.error().message);
    service->file = std::move(*file);
  }
  try {
    base::ChangeEnvironment(kPortVariable, std::to_string(service->server->Port()));
    base::ChangeEnvironment(kTokenFileVariable, service->file->Path());
  } catch (const std::bad_alloc&) {
    ForgetVariables();
    throw;
  }
  running = std::move(service);
  return true;
}

bool StopService() {
  if (!running) return false;
  auto service = std::move(running);
  ForgetVariables();
  service->file.reset();
  service->server->Stop();
  service->queue.Close();
  ending.push_back(std::move(service));
  return true;
}

// Whether the service would run by now, in a dry run in which a script started or stopped it.
std::optional<bool> plannedToRun;

bool IsRunningOrPlanned() { return plannedToRun.value_or(running != nullptr); }

bool PlanToStart(int port) {
  const char* const refusal = IsRunningOrPlanned()       ? "the service runs already"
                              : port < 0 || port > 65535 ? "there is no such port"
                                                         : nullptr;
  if (refusal) {
    dry_run::Tell({dry_run::Act::kFail, std::to_string(port), {}, -1, false, refusal});
    return false;
  }
  dry_run::Tell({dry_run::Act::kStartService, std::to_string(port)});
  plannedToRun = true;
  return true;
}

bool PlanToStop() {
  if (!IsRunningOrPlanned()) return false;
  dry_run::Tell({dry_run::Act::kStopService});
  plannedToRun = false;
  return true;
}

}  // namespace

bool Serve(int port, int backlog) {
  return StartService(port, backlog, TavWSLogShort, TavWSLogConsole);
}

void SetHostOptions(const HostOptions& options) { hostOptions = options; }

const HostOptions& GetHostOptions() { return hostOptions; }

void SetLogField(std::function<void(const std::string&)> show) { logField = std::move(show); }

int Port() { return running ? running->server->Port() : 0; }

std::string TokenFilePath() { return running ? running->file->Path() : std::string(); }

void RunWaitingRequests() {
  if (running) running->queue.Run();
}

void ServeUntilStopped() {
  constexpr std::uint32_t kLongWait = 60000;  // whatever comes wakes it up
  while (running && !stop::IsRequested() && standard_write::OutputError() == 0) {
    try {
      RunWaitingRequests();
      if (!running || stop::IsRequested()) break;
      event_loop::WaitForEvents(kLongWait);
      event_loop::ProcessEvents();
    } catch (const std::bad_alloc&) {
      report::Line("script service: out of memory");
    }
  }
}

void TellUnanswered(const std::string& reason) {
  if (Queue* const queue = Queue::Running()) queue->TellUnanswered(reason);
}

bool AsksClient() {
  const Queue* const queue = Queue::Running();
  return queue && queue->AsksClient();
}

void AskClient(Question& question) { Queue::Running()->Ask(question); }

void SetServingRequest(bool serving) {
  ScriptPort::SetRefusedCommand(serving && !hostOptions.allowCrash ? "CRASH" : nullptr);
}

void Shutdown() {
  StopService();
  constexpr std::chrono::seconds kPatience{5};  // with clients that take their replies
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  while (true) {
    ForgetEnded();
    if (ending.empty() || std::chrono::steady_clock::now() > deadline) break;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  ending.clear();
}

}  // namespace script::service

bool TavScriptService::Start(int port, int backlog, TavWSLogFormat format, TavWSLogType type,
                             TavBasicFileLogger* logger, bool unused) {
  trace::Call call("TavScriptService::Start", port, backlog, format, type, trace::Object{logger},
                   unused);
  if (dry_run::IsOn()) return call.Result(script::service::PlanToStart(port));
  return call.Result(script::service::StartService(port, backlog, format, type));
}

bool TavScriptService::Stop() {
  trace::Call call("TavScriptService::Stop");
  if (dry_run::IsOn()) return call.Result(script::service::PlanToStop());
  return call.Result(script::service::StopService());
}

bool TavScriptService::IsRunning() {
  trace::Call call("TavScriptService::IsRunning");
  return call.Result(script::service::IsRunningOrPlanned());
}

#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tavhost/base/result.h"
#include "tavhost/base/stop.h"

// The script service as the host around it sees it. All on the user-interface thread.
namespace script::service {

inline constexpr std::size_t kReplyLimit = std::size_t{64} << 20;  // unless the host says otherwise

// What the host decides and no script can change.
struct HostOptions {
  // The addresses to listen on, as ReadAddress gives them; the machine must have each. None: the
  // loopback addresses, so that other machines cannot reach the service.
  std::vector<std::string> addresses;
  bool allowCrash = false;  // whether requests may end the process by CRASH
  // Bytes of one reply. What a request prints and leaves in variables has to fit in it.
  std::size_t replyLimit = kReplyLimit;
  // What each request may take; a client can ask for less. Empty: as long as it likes.
  std::optional<std::chrono::milliseconds> requestTime;
  bool quiet = false;  // no log
  std::string socket;  // the path of a socket in the file system to listen on
  bool listensOnPort = true;
  std::vector<int> inherited;  // sockets that listen already, from whoever started the program
  std::string tokenFile;  // empty: one beside the socket, or in the user's own folder by the port
  std::function<void()> prepare;  // called before each request
  // Called behind each request: releases what it has left behind. `cutShort`: it did not come to
  // its end. Returns what went wrong, for the client.
  std::function<std::string(bool cutShort)> release;
  // Why the whole program is to end, if it is. It may have been asked for while a request was being
  // stopped already, and must outlast that stop.
  std::function<stop::Reason()> interruption;
};

const HostOptions& GetHostOptions();
// For the services that are started from now on, and at once for what requests may do.
void SetHostOptions(const HostOptions& options);

// Where the log goes that is meant for a text field. Without such a field it goes to standard
// error, as the other kind does.
void SetLogField(std::function<void(const std::string& line)> show);

// Starts the service for the user of this program, in a dry run too: false, with a message, when
// that cannot be. What requests do is then told and not done.
bool Serve(int port, int backlog);

// Of the running service; 0 and "" when there is none.
int Port();
std::string TokenFilePath();

// Runs the requests that wait, unless a script runs.
void RunWaitingRequests();
// Serves until the service is stopped or a stop is asked for.
void ServeUntilStopped();

// A window that the client of a request answers.
class Question {
 public:
  virtual ~Question() = default;

  // The window as a JSON object with the id; nothing where that takes more than `limit` bytes.
  // Throws stop::Stopped when a stop comes meanwhile.
  virtual std::optional<std::string> Json(const std::string& id, std::size_t limit) const = 0;
  // Ends the window by an element of an answers file. When it fails because something does not
  // fit, the window is as it was.
  virtual base::Result<void> Take(const std::string& answer) = 0;
};

// A window of the request that runs has no answer: the words that its client is told. The script is
// being stopped.
void TellUnanswered(const std::string& reason);

// Whether the client of the request that runs answers its windows.
bool AsksClient();
// Sends the question as the reply of the request and waits for an answer that fits; the reply to
// that is the next one of the request. Throws stop::Stopped, the request made, when none comes in
// time or the script or the service is stopped.
void AskClient(Question& question);

// While a request is carried out, commands it may not give are refused.
void SetServingRequest(bool serving);

// Ends the service and waits until its last replies are sent, as long as their clients take them
// and at most five seconds.
void Shutdown();

}  // namespace script::service

#pragma once

#include <vector>

// What a manager of services that has started the program hands to it and wants to hear from it, by
// environment variables (LISTEN_FDS, LISTEN_PID, NOTIFY_SOCKET). Where there is no such manager,
// nothing happens.
namespace script::service::manager {

// The sockets that it has opened for this program, once: who asks again gets none.
std::vector<int> TakeSockets();

// From now on requests are taken.
void TellReady();
void TellStopping();

}  // namespace script::service::manager

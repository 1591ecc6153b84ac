#pragma once

// The sockets of requests. Those of connections that are kept for a later request wait in silence:
// a server that says something before it is asked is not to be asked over that connection again,
// since what it said would be taken for the answer. On the user-interface thread.
namespace http::sockets {

// As socket(); programs that are started meanwhile do not get it.
int Open(int family, int type, int protocol);
int Close(int socket);  // as close()

// To be called while no request is under way: ends the connections on which something came.
void EndTalkative();

}  // namespace http::sockets

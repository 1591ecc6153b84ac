#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>

namespace script::service {

// Whether the option to reuse addresses is to be set. On POSIX systems it is: without it, a port
// cannot be used again for a while after its socket has closed. On Windows it must not be: there it
// lets another program take over a port that is in use.
bool PortsOutliveTheirSockets();

// Programs that this one starts do not get the socket: they would hold its port, or its client.
void KeepFromChildren(std::uintptr_t socket);

// Has the system find out when the other side of a connection is gone without a word.
void FindOutWhoIsGone(std::uintptr_t socket);
// Whether the system knows that nothing sent on the connection arrives any more. Where it does not
// tell, the next attempt to send will.
bool HasFailed(std::uintptr_t socket);

// How many bytes that were sent on the connection its other side has not taken yet: those that have
// not arrived, or, on a socket in the file system, that it has not read. Nothing where the system
// does not tell: there it takes little more than the other side does.
std::optional<std::size_t> UnreadBytes(std::uintptr_t socket);

// How much the system is to be given at once, so that UnreadBytes tells of small amounts too: of
// what it gets at once on a socket in the file system it tells when all of it has been read.
std::size_t MostAtOnce(std::uintptr_t socket);

// Who holds the other ends of connections within this machine and what has come there, by the
// system's list of connections. The list grows with what others do: it is read once for all who ask
// in one sweep, is given up beyond a length, and rests ten times the processor time that reading it
// took.
class OtherEnds {
 public:
  enum class Holder : std::uint8_t {
    kSomebody,
    kNobody,
    kNotListed,  // the end is no more, or the list changed while it was read
    kUnknown,    // the other end is on another machine, or the system does not tell
    kNotNow,     // the list rests: to be asked again at the next sweep
  };

  struct End {
    Holder holder = Holder::kUnknown;
    std::size_t unread = 0;  // bytes that have come there and that its program has not read
  };

  void BeginSweep();
  // Of a connection that there was before the sweep began.
  End Look(std::uintptr_t socket);

 private:
  using Clock = std::chrono::steady_clock;

  void Read();

  bool isRead_ = false;
  bool isKnown_ = false;
  Clock::time_point rests_;                    // until then
  std::unordered_map<std::string, End> ends_;  // by the two ends of each
};

// Lets the program have so many descriptors, if it may; returns how many it can have.
std::size_t AllowDescriptors(std::size_t count);

}  // namespace script::service

#pragma once

#include <cstdint>
#include <functional>
#include <string>

// A dry run: what a script would do outside the process (files, requests, the clipboard, the script
// service, sounds) is told, step by step, and not done. Whoever does such a thing asks first. All
// on the user-interface thread.
namespace dry_run {

enum class Act {
  kCopy,
  kMove,
  kDelete,
  kDeleteDirectory,
  kCreateDirectory,
  kCreate,  // an empty file
  kOpen,    // to be written to, by steps that follow
  kWrite,
  kAppend,
  kSend,
  kCopyToClipboard,
  kStartService,
  kStopService,
  kSetPrinter,
  kBeep,
  kCrash,
  kFail,  // not done in earnest either
};

struct Step {
  Act act;
  std::string object = {};  // a path of the system, an address, the number of a port, a name
  std::string target = {};  // where a copy or move goes to
  std::int64_t bytes = -1;  // so many of them; -1 where that is no question
  bool replaces = false;    // what is there would go
  std::string detail = {};  // why a step fails; the verb of a request
};

using Teller = std::function<void(const Step&)>;

// From now on steps are told to this, and not done; an empty one ends that.
void SetTeller(Teller teller);
bool IsOn() noexcept;
void Tell(const Step& step);

}  // namespace dry_run

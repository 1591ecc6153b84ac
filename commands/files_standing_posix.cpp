#include "commands/files_standing.h"

namespace commands {

void StandAt(HANDLE search, std::string_view source, std::string_view target) {
  Tav_StandAt(search, source.data(), source.size(), target.empty() ? nullptr : target.data(),
              target.size());
}

}  // namespace commands

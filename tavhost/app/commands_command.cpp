#include "tavhost/app/commands_command.h"

#include <nlohmann/json.hpp>

#include "tavhost/app/exit_codes.h"
#include "tavhost/app/standard_streams.h"
#include "tavhost/base/report.h"
#include "tavhost/reference/reference.h"
#include "tavhost/reference/reference_json.h"
#include "tavhost/reference/reference_text.h"

namespace app {

int RunCommands(const std::string& name, bool json) {
  const reference::Catalogue& catalogue = reference::Catalogue::Get();
  if (name.empty()) {
    Print(json ? ToJson(catalogue).dump(2) + "\n" : reference::ListText(catalogue));
    return kExitSuccess;
  }
  const reference::Command* command = catalogue.Find(name);
  if (command == nullptr) {
    const reference::Command* nearest = catalogue.Nearest(name);
    report::Line("tavhost: unknown command \"" + name + "\"" +
                 (nearest ? "; did you mean \"" + nearest->name + "\"?" : std::string()));
    return kExitUsage;
  }
  Print(json ? ToJson(*command).dump(2) + "\n" : reference::CommandText(*command));
  return kExitSuccess;
}

}  // namespace app

#include "tavhost/app/program_arguments.h"

namespace app {

std::vector<std::string> ProgramArguments(int count, char** arguments) {
  if (count < 1) return {};
  return {arguments + 1, arguments + count};
}

}  // namespace app

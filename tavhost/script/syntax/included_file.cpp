#include "tavhost/script/syntax/included_file.h"

namespace script {

std::string NameBeside(const std::string& from, std::string_view name) {
  const bool isRooted = !name.empty() && (name[0] == '/' || name[0] == '\\');
  const bool hasDrive = name.size() > 1 && name[1] == ':';
  const std::size_t folderEnd = from.find_last_of("/\\");
  if (isRooted || hasDrive || folderEnd == std::string::npos) return std::string(name);
  return from.substr(0, folderEnd + 1) + std::string(name);
}

}  // namespace script

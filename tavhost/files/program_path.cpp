#include "tavhost/files/program_path.h"

#include <optional>

#include "host/files/database_names.h"
#include "tavhost/base/trace.h"
#include "tavhost/files/database_area.h"
#include "tavhost/files/disk.h"

namespace {

std::string programPath;
bool isReached = true;  // otherwise nobody can tell which folder it is

std::string Resolved(const char* name) {
  if (*name == '\0' || disk::IsAbsolute(name) || database_area::IsAreaName(name)) return name;
  // Behind the folder it would be judged as a part of that path, no longer by itself.
  if (!disk::CanNameFile(name)) return name;
  const std::string folder = programPath.empty() ? disk::CurrentFolder() : programPath;
  // A folder with a `\` in its name would be read as another one when the path comes back.
  return isReached && disk::CanBeWritten(folder) ? disk::Join(folder, name) : std::string();
}

}  // namespace

namespace program_path {

void Set(const std::string& folder) {
  // Scripts' paths take `..` from the text, but the script was found as the system goes.
  const std::optional<std::string> reached = disk::WithoutWayUp(folder);
  isReached = reached.has_value();
  programPath = reached.value_or("");
  if (!programPath.empty() && !disk::IsAbsolute(programPath)) {
    programPath = disk::Join(disk::CurrentFolder(), programPath);
  }
}

void SetFolderOf(const std::string& file) {
  const std::string folder = disk::FolderOf(file);
  Set(folder == "." ? disk::CurrentFolder() : folder);
}

}  // namespace program_path

SV::String Tav_GetProgramPathFilename(const char* name) {
  trace::Call call("Tav_GetProgramPathFilename", name);
  return call.Result(SV::String(Resolved(name).c_str()));
}

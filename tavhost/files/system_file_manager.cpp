#include "host/files/system_file_manager.h"

#include <string>

#include "tavhost/base/string_of.h"
#include "tavhost/base/trace.h"
#include "tavhost/files/database_area.h"
#include "tavhost/files/disk.h"
#include "tavhost/files/planned_file_manager.h"
#include "tavhost/files/planned_functions.h"

namespace {

disk::ReadCode ReadFile(SV::String& contents, const SV::String& path) {
  if (PlannedFiles* planned = planned_functions::Files()) {
    return planned_file_manager::Read(*planned, path.View(), contents);
  }
  if (path.View().find('\0') != std::string_view::npos) return disk::kNotFound;
  if (!database_area::IsAreaName(path.View())) return disk::Read({path.GetStr()}, contents);
  const auto stored = database_area::FindFile(path.View(), database_area::kFileSystem);
  return stored ? disk::Read({stored->c_str(), false}, contents) : disk::kNotFound;
}

}  // namespace

long TavSystemFileManager::readStringFromFile(SV::String& contents, const SV::String& path,
                                              bool binary) {
  trace::Call call("TavSystemFileManager::readStringFromFile", path, binary);
  const disk::ReadCode code = ReadFile(contents, path);
  if (code != disk::kRead) contents = SV::String();
  return call.Result(static_cast<long>(code));
}

SV::String TavSystemFileManager::fileCreateTempName(const char* prefix, const char* second) {
  trace::Call call("TavSystemFileManager::fileCreateTempName", prefix, second);
  const std::string start = prefix ? prefix : "";
  PlannedFiles* const planned = planned_functions::Files();
  const std::string name =
      planned ? planned->NewTemporaryFile(start) : disk::NewTemporaryFile(start);
  return call.Result(base::StringOf(name));
}

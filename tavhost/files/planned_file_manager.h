#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "host/base/string.h"
#include "tavhost/files/disk.h"
#include "tavhost/files/planned_files.h"

// What the file managers do in a dry run: files by path and library, over planned files.
namespace planned_file_manager {

std::unique_ptr<disk::OutputFile> OpenForWriting(PlannedFiles& files, const char* path, bool append,
                                                 long libraryId);
bool Exists(PlannedFiles& files, std::string_view path, long libraryId);
bool Delete(PlannedFiles& files, std::string_view path, long libraryId);
bool Copy(PlannedFiles& files, const char* from, const char* to, long fromLibraryId,
          long toLibraryId, bool copyAttributes);
bool Rename(PlannedFiles& files, const char* from, const char* to, long libraryId);
bool NamesOf(PlannedFiles& files, long libraryId,
             std::set<SV::String, std::less<SV::String>>& names);
disk::ReadCode Read(PlannedFiles& files, std::string_view path, SV::String& contents);

}  // namespace planned_file_manager

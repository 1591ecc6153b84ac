#include "tavhost/files/planned_functions.h"

#include <algorithm>
#include <cstring>
#include <tl/expected.hpp>

#include "tavhost/base/stop.h"
#include "tavhost/files/planned_functions_platform.h"
#include "tavhost/windows/file_functions.h"

namespace planned_functions {

namespace {

using Kind = PlannedFiles::Kind;

PlannedFiles* files = nullptr;
Command command;

DWORD AttributesOf(const PlannedFiles::Entry& entry) {
  switch (entry.kind) {
    case Kind::kNone:
    case Kind::kUnknown:
      return INVALID_FILE_ATTRIBUTES;
    case Kind::kDirectory:
      return FILE_ATTRIBUTE_DIRECTORY;
    case Kind::kLink:
      return FILE_ATTRIBUTE_REPARSE_POINT;
    case Kind::kDirectoryLink:
      return FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DIRECTORY;
    default:
      return entry.isReadOnly ? FILE_ATTRIBUTE_READONLY : FILE_ATTRIBUTE_NORMAL;
  }
}

// False behind the last entry, and at one whose name no path can hold where the command stops.
bool ReturnNext(PlannedFiles::Search& search, WIN32_FIND_DATAA* data) {
  const PlannedFiles::Entry* entry = files->Next(search);
  if (!entry) return false;
  *data = {};
  data->dwFileAttributes = AttributesOf(*entry);
  const std::size_t length = std::min(entry->name.size(), sizeof data->cFileName - 1);
  std::memcpy(data->cFileName, entry->name.data(), length);
  if (command.isOfTrees && entry->name.find('\\') != std::string::npos) {
    files->Refuse({search.entryPath.c_str(), false}, kUnnameable);
  }
  return true;
}

HANDLE FindFirst(LPCSTR pattern, WIN32_FIND_DATAA* data) {
  const base::Result<PlannedFiles::Search*> search = files->OpenSearch(pattern);
  if (search) {
    ReturnNext(**search, data);
    return *search;
  }
  const base::Error& why = search.error();
  if (command.isOfTrees) files->Refuse({why.file->c_str(), false}, why.message);
  return INVALID_HANDLE_VALUE;
}

// Here a stop ends a long command: each goes through files.
BOOL FindNext(HANDLE handle, WIN32_FIND_DATAA* data) {
  stop::ThrowIfRequested();
  auto* search = static_cast<PlannedFiles::Search*>(handle);
  return files->IsOpen(search) && ReturnNext(*search, data);
}

BOOL EndSearch(HANDLE handle) {
  auto* search = static_cast<PlannedFiles::Search*>(handle);
  if (!files->IsOpen(search)) return FALSE;
  files->Close(search);
  return TRUE;
}

DWORD Attributes(LPCSTR path) {
  if (command.isRefused) return INVALID_FILE_ATTRIBUTES;
  const DWORD attributes = AttributesOf(files->At({path}));
  const bool isDirectory =
      attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  if (command.isOfTrees && !isDirectory && !files->IsWayClosed()) files->RefuseAttributes({path});
  return attributes;
}

BOOL CreateFolder(LPCSTR path, SECURITY_ATTRIBUTES*) {
  return files->MakeDirectory({path}, command.fillsFolders);
}

BOOL RemoveFolder(LPCSTR path) { return files->RemoveFolder({path}); }

BOOL Delete(LPCSTR path) { return files->Delete({path}); }

BOOL Copy(LPCSTR from, LPCSTR to, BOOL failIfExists) {
  return files->Copy({from}, {to}, {failIfExists == 0, true, false});
}

BOOL Move(LPCSTR from, LPCSTR to) { return files->Move({from}, {to}); }

// What the C runtime's functions return.
int RuntimeResult(bool success) { return success ? 0 : -1; }

int ChangeFolder(const char* path) { return RuntimeResult(files->ChangeDirectory({path})); }
int MakeFolder(const char* path) { return RuntimeResult(files->MakeDirectory({path})); }
int RemoveFolderOfRuntime(const char* path) { return RuntimeResult(files->RemoveFolder({path})); }

constexpr windows::FileFunctions kFunctions = {
    FindFirst, FindNext, EndSearch, Attributes,   CreateFolder, RemoveFolder,
    Delete,    Copy,     Move,      ChangeFolder, MakeFolder,   RemoveFolderOfRuntime};

}  // namespace

void Use(PlannedFiles* planned) {
  files = planned;
  command = {};
  windows::replacedFunctions = planned ? &kFunctions : nullptr;
}

PlannedFiles* Files() { return files; }

void SetCommand(Command next) { command = next; }

void ReplaceIn(const std::string& modulePath) { ReplaceInModule(modulePath, kFunctions); }

}  // namespace planned_functions

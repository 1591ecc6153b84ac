#include <cstring>
#include <iterator>

#include "tavhost/files/planned_functions_platform.h"

namespace planned_functions {

namespace {

struct Replacement {
  const char* name;
  const void* function;
};

template <typename Function>
const void* AddressOf(Function function) {
  return reinterpret_cast<const void*>(function);
}

// What it is for does not exist.
BOOL WINAPI SetNoTime(HANDLE, const FILETIME*, const FILETIME*, const FILETIME*) { return TRUE; }

decltype(&::CopyFileA) copyFile = nullptr;  // what a copy in steps comes down to

BOOL WINAPI CopyInOneStep(LPCSTR from, LPCSTR to, LPPROGRESS_ROUTINE, LPVOID, LPBOOL, DWORD flags) {
  return copyFile(from, to, (flags & COPY_FILE_FAIL_IF_EXISTS) != 0);
}

// Puts a function in the place from which the module calls one that it imports.
void Put(ULONGLONG& slot, const void* function) {
  DWORD before = 0;
  if (!VirtualProtect(&slot, sizeof slot, PAGE_READWRITE, &before)) return;
  slot = reinterpret_cast<ULONGLONG>(function);
  VirtualProtect(&slot, sizeof slot, before, &before);
}

}  // namespace

// The module calls what it imports through a table of its own, which the loader has filled; the
// names of the functions stand in a table beside it.
void ReplaceInModule(const std::string& path, const windows::FileFunctions& functions) {
  auto* base = reinterpret_cast<BYTE*>(GetModuleHandleA(path.c_str()));
  if (!base) return;
  copyFile = functions.copyFile;
  const Replacement replacements[] = {
      {"FindFirstFileA", AddressOf(functions.findFirst)},
      {"FindNextFileA", AddressOf(functions.findNext)},
      {"FindClose", AddressOf(functions.findClose)},
      {"GetFileAttributesA", AddressOf(functions.attributes)},
      {"CreateDirectoryA", AddressOf(functions.createDirectory)},
      {"RemoveDirectoryA", AddressOf(functions.removeDirectory)},
      {"DeleteFileA", AddressOf(functions.deleteFile)},
      {"CopyFileA", AddressOf(functions.copyFile)},
      {"CopyFileExA", AddressOf(CopyInOneStep)},
      {"MoveFileA", AddressOf(functions.moveFile)},
      {"SetFileTime", AddressOf(SetNoTime)},
      {"_chdir", AddressOf(functions.chdir)},
      {"_mkdir", AddressOf(functions.mkdir)},
      {"_rmdir", AddressOf(functions.rmdir)},
  };
  const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + dos->e_lfanew);
  const auto& imports = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  if (imports.Size == 0) return;
  const auto* library =
      reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + imports.VirtualAddress);
  for (; library->Name != 0; ++library) {
    const auto* name =
        reinterpret_cast<const IMAGE_THUNK_DATA64*>(base + library->OriginalFirstThunk);
    auto* slot = reinterpret_cast<IMAGE_THUNK_DATA64*>(base + library->FirstThunk);
    for (; name->u1.AddressOfData != 0; ++name, ++slot) {
      if (IMAGE_SNAP_BY_ORDINAL64(name->u1.Ordinal)) continue;
      const auto* imported =
          reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + name->u1.AddressOfData);
      for (const Replacement& replacement : replacements) {
        if (std::strcmp(reinterpret_cast<const char*>(imported->Name), replacement.name) == 0) {
          Put(slot->u1.Function, replacement.function);
        }
      }
    }
  }
}

}  // namespace planned_functions

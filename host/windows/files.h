#pragma once

#include "host/export.h"
#include "host/windows/types.h"

// Files and directories as the commands use them. `\` and `/` both separate, `.` and `..` are
// resolved in the text, a path with a drive or a leading double separator is not found, names are
// bytes and found in the case in which they are stored. A link is a leaf: it is copied, moved and
// removed as itself.
//
// While a search is open, a call that leads through a directory which the search returned, or
// which was made meanwhile, fails when that name no longer stands for the same directory.

inline constexpr DWORD FILE_ATTRIBUTE_READONLY = 0x1;
inline constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 0x10;
inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;
inline constexpr DWORD FILE_ATTRIBUTE_REPARSE_POINT = 0x400;
inline constexpr DWORD INVALID_FILE_ATTRIBUTES = 0xFFFFFFFF;
inline constexpr int MAX_PATH = 260;
// In bytes. File systems that count letters instead allow 255 of up to four.
inline constexpr int kLongestFileName = 255 * 4;

struct FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
};

// Name and attributes are set; all else is 0.
struct WIN32_FIND_DATAA {
  DWORD dwFileAttributes;
  FILETIME ftCreationTime;
  FILETIME ftLastAccessTime;
  FILETIME ftLastWriteTime;
  DWORD nFileSizeHigh;
  DWORD nFileSizeLow;
  DWORD dwReserved0;
  DWORD dwReserved1;
  char cFileName[kLongestFileName + 1];  // Windows has MAX_PATH here
  char cAlternateFileName[14];
};

struct SECURITY_ATTRIBUTES;

// An entry whose name holds a backslash is found, but no path names it: while a search stands
// there, calls by that path fail.
//
// Finds what stands in the pattern's directory now; later changes are not seen. Only the last
// component may hold wildcards. `.` and `..` come first, then names in ascending order without
// regard to case. INVALID_HANDLE_VALUE when nothing matches.
TAV_HOST_API HANDLE FindFirstFileA(LPCSTR pattern, WIN32_FIND_DATAA* data);
TAV_HOST_API BOOL FindNextFileA(HANDLE search, WIN32_FIND_DATAA* data);
TAV_HOST_API BOOL FindClose(HANDLE search);

// Of the searches begun while this is on nobody wants to know which files are read-only; their
// attributes do not tell it, and no look at each file is needed.
TAV_HOST_API void Tav_FindTypesOnly(bool on);

// For a command that goes through a tree and writes its paths, which grow with the depth, into one
// text for what it takes and one for where it puts that: so that a path need not be read from its
// beginning for each entry. From now on a path at the address `source` begins with `sourceLength`
// bytes that lead to the directory of `search`; one at `target`, unless that is null, with
// `targetLength` bytes that lead to the directory made last before `search` began. Paths at other
// addresses are read whole, as ever.
//
// Holds until it is told anew, with a null `search` for nothing, or until the search is closed. Who
// tells it makes sure that no other text comes to lie at these addresses before.
TAV_HOST_API void Tav_StandAt(HANDLE search, const char* source, unsigned long sourceLength,
                              const char* target, unsigned long targetLength);

// For a command that copies directories: the one made for the entry at which the innermost search
// stands is given what it is to have in the end, now. FALSE when that could not be stored; what
// this user may not give, or the file system does not have, is no failure.
TAV_HOST_API BOOL Tav_FinishDirectory();

// A link to a directory has both the directory and the reparse bit.
TAV_HOST_API DWORD GetFileAttributesA(LPCSTR path);
// One level, with the permissions that the process's mask leaves of 0777. A directory made while a
// search stands at one of the same name is taken for its copy: nobody may do there what they may
// not do in the original, and once the search goes on the copy has the original's permissions and
// modification time.
TAV_HOST_API BOOL CreateDirectoryA(LPCSTR path, SECURITY_ATTRIBUTES* unused);
// An empty directory that is not the current one, or a link to a directory.
TAV_HOST_API BOOL RemoveDirectoryA(LPCSTR path);
// Refuses directories, read-only files and files that the host holds open for writing.
TAV_HOST_API BOOL DeleteFileA(LPCSTR path);
// Copies contents, permissions and modification time, or the link itself. The target holds the old
// contents until the new ones stand whole in its place.
TAV_HOST_API BOOL CopyFileA(LPCSTR from, LPCSTR to, BOOL failIfExists);
// Never replaces a target; moves a file to another file system by copying it.
TAV_HOST_API BOOL MoveFileA(LPCSTR from, LPCSTR to);

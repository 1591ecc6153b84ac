// A library to preload that makes any file system one that counts letters instead of bytes: names of
// more than 255 bytes can be made and are found. Those of a test are many times the letter U+5B57
// and an ending; `~N~ending` is what really stands on the disk for N of them.
#define _GNU_SOURCE
#include <dirent.h>
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdarg.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#define REAL(NAME) __typeof__(&NAME) real = (__typeof__(&NAME))dlsym(RTLD_NEXT, #NAME)

static const char kLetter[] = "\xE5\xAD\x97";
enum { kLetterBytes = 3, kLongest = 255 };

// The path as it stands on the disk, in `out`; the path itself when it is already.
static const char* Stored(const char* path, char* out, size_t room) {
  if (!path || !strstr(path, kLetter)) return path;
  size_t length = 0;
  while (*path) {
    size_t name = strcspn(path, "/");
    size_t letters = 0;
    while (strncmp(path + letters * kLetterBytes, kLetter, kLetterBytes) == 0) ++letters;
    const size_t skip = name > kLongest ? letters * kLetterBytes : 0;
    if (length + name + 32 > room) abort();
    if (skip > 0) length += (size_t)sprintf(out + length, "~%zu~", letters);
    memcpy(out + length, path + skip, name - skip);
    length += name - skip;
    path += name;
    if (*path) out[length++] = *path++;
  }
  out[length] = '\0';
  return out;
}

#define STORED(NAME)   \
  char NAME##Room[2 * PATH_MAX]; \
  NAME = Stored(NAME, NAME##Room, sizeof NAME##Room)

#define WRAP(RESULT, NAME, PARAMETERS, ARGUMENTS) \
  RESULT NAME PARAMETERS {                        \
    REAL(NAME);                                   \
    STORED(name);                                 \
    return real ARGUMENTS;                        \
  }
#define WRAP_BOTH(NAME, PARAMETERS, ARGUMENTS) \
  int NAME PARAMETERS {                        \
    REAL(NAME);                                \
    STORED(from);                              \
    STORED(to);                                \
    return real ARGUMENTS;                     \
  }

WRAP(int, stat, (const char* name, struct stat* status), (name, status))
WRAP(int, lstat, (const char* name, struct stat* status), (name, status))
WRAP(int, fstatat, (int folder, const char* name, struct stat* status, int flags),
     (folder, name, status, flags))
WRAP(int, mkdirat, (int folder, const char* name, mode_t mode), (folder, name, mode))
WRAP(int, unlinkat, (int folder, const char* name, int flags), (folder, name, flags))
WRAP(int, symlinkat, (const char* text, int folder, const char* name), (text, folder, name))
WRAP(ssize_t, readlinkat, (int folder, const char* name, char* out, size_t room),
     (folder, name, out, room))
WRAP(int, utimensat, (int folder, const char* name, const struct timespec times[2], int flags),
     (folder, name, times, flags))
WRAP(int, fchmodat, (int folder, const char* name, mode_t mode, int flags),
     (folder, name, mode, flags))
WRAP(char*, realpath, (const char* name, char* out), (name, out))
WRAP_BOTH(renameat, (int f, const char* from, int t, const char* to), (f, from, t, to))
WRAP_BOTH(renameat2, (int f, const char* from, int t, const char* to, unsigned flags),
          (f, from, t, to, flags))
WRAP_BOTH(linkat, (int f, const char* from, int t, const char* to, int flags),
          (f, from, t, to, flags))

#define MODE(FLAGS)                      \
  mode_t mode = 0;                       \
  if ((FLAGS) & (O_CREAT | O_TMPFILE)) { \
    va_list list;                        \
    va_start(list, FLAGS);               \
    mode = va_arg(list, mode_t);         \
    va_end(list);                        \
  }

int open(const char* name, int flags, ...) {
  REAL(open);
  MODE(flags)
  STORED(name);
  return real(name, flags, mode);
}

int openat(int folder, const char* name, int flags, ...) {
  REAL(openat);
  MODE(flags)
  STORED(name);
  return real(folder, name, flags, mode);
}

// Each entry may take more room than on the disk.
ssize_t getdents64(int folder, void* out, size_t room) {
  REAL(getdents64);
  char stored[4096];
  const ssize_t bytes = real(folder, stored, sizeof stored < room / 64 ? sizeof stored : room / 64);
  if (bytes <= 0) return bytes;
  char* write = out;
  for (char* read = stored; read < stored + bytes; read += ((struct dirent64*)read)->d_reclen) {
    const struct dirent64* entry = (struct dirent64*)read;
    struct dirent64* shown = (struct dirent64*)write;
    size_t letters = 0;
    int skip = 0;
    sscanf(entry->d_name, "~%zu~%n", &letters, &skip);
    if (skip == 0) letters = 0;
    const size_t length = letters * kLetterBytes + strlen(entry->d_name + skip);
    memcpy(shown, entry, offsetof(struct dirent64, d_name));
    char* name = write + offsetof(struct dirent64, d_name);
    for (size_t i = 0; i < letters; ++i) memcpy(name + i * kLetterBytes, kLetter, kLetterBytes);
    strcpy(name + letters * kLetterBytes, entry->d_name + skip);
    shown->d_reclen =
        (unsigned short)((offsetof(struct dirent64, d_name) + length + 1 + 7) / 8 * 8);
    write += shown->d_reclen;
  }
  return write - (char*)out;
}

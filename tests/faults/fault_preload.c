// A library to preload that makes one system call of a command go wrong. It counts the calls that
// touch files between two marks, which the script sets by asking for the files FAULT-BEGIN and
// FAULT-END, and acts at one of them:
//
//   FAULT_AT=N      the call to act at, from 1 on
//   FAULT_DO=…      error:E  the call fails with that error number
//                   kill     the process dies before the call
//                   swap     FAULT_SWAP is renamed to FAULT_ASIDE and becomes a link to FAULT_LINK,
//                            then the call is made
//   FAULT_COUNT=F   the number of calls goes to that file
#define _GNU_SOURCE
#include <dirent.h>
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

static int counting;
static long calls;

static void Mark(const char* path) {
  const char* name = path ? strstr(path, "FAULT-") : NULL;
  if (!name) return;
  if (strcmp(name, "FAULT-BEGIN") == 0) counting = 1;
  if (strcmp(name, "FAULT-END") == 0 && counting) {
    counting = 0;
    const char* file = getenv("FAULT_COUNT");
    FILE* out = file ? fopen(file, "w") : NULL;
    if (out) {
      fprintf(out, "%ld\n", calls);
      fclose(out);
    }
  }
}

// True when the call is to fail, errno then being set.
static int Fault(void) {
  if (!counting) return 0;
  ++calls;
  const char* at = getenv("FAULT_AT");
  const char* what = getenv("FAULT_DO");
  if (!at || !what || atol(at) != calls) return 0;
  if (strcmp(what, "kill") == 0) kill(getpid(), SIGKILL);
  if (strncmp(what, "error:", 6) == 0) {
    errno = atoi(what + 6);
    return 1;
  }
  counting = 0;
  if (rename(getenv("FAULT_SWAP"), getenv("FAULT_ASIDE")) == 0 &&
      symlink(getenv("FAULT_LINK"), getenv("FAULT_SWAP")) != 0) {
    abort();
  }
  counting = 1;
  return 0;
}

#define REAL(NAME) __typeof__(&NAME) real = (__typeof__(&NAME))dlsym(RTLD_NEXT, #NAME)

#define WRAP(RESULT, NAME, PARAMETERS, ARGUMENTS) \
  RESULT NAME PARAMETERS {                        \
    REAL(NAME);                                   \
    return Fault() ? -1 : real ARGUMENTS;         \
  }

WRAP(ssize_t, read, (int file, void* out, size_t length), (file, out, length))
WRAP(ssize_t, write, (int file, const void* data, size_t length), (file, data, length))
WRAP(int, fstat, (int file, struct stat* status), (file, status))
WRAP(int, mkdirat, (int folder, const char* name, mode_t mode), (folder, name, mode))
WRAP(int, unlinkat, (int folder, const char* name, int flags), (folder, name, flags))
WRAP(int, renameat, (int f, const char* from, int t, const char* to), (f, from, t, to))
WRAP(int, renameat2, (int f, const char* from, int t, const char* to, unsigned flags),
     (f, from, t, to, flags))
WRAP(int, linkat, (int f, const char* from, int t, const char* to, int flags),
     (f, from, t, to, flags))
WRAP(int, symlinkat, (const char* text, int folder, const char* name), (text, folder, name))
WRAP(ssize_t, readlinkat, (int folder, const char* name, char* out, size_t room),
     (folder, name, out, room))
WRAP(int, futimens, (int file, const struct timespec times[2]), (file, times))
WRAP(int, ftruncate, (int file, off_t length), (file, length))
WRAP(int, fsync, (int file), (file))
WRAP(ssize_t, getdents64, (int folder, void* out, size_t room), (folder, out, room))
WRAP(ssize_t, copy_file_range, (int from, off64_t* a, int to, off64_t* b, size_t n, unsigned flags),
     (from, a, to, b, n, flags))

int fstatat(int folder, const char* name, struct stat* status, int flags) {
  REAL(fstatat);
  Mark(name);
  return Fault() ? -1 : real(folder, name, status, flags);
}

int openat(int folder, const char* name, int flags, ...) {
  REAL(openat);
  va_list list;
  va_start(list, flags);
  const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) ? va_arg(list, mode_t) : 0;
  va_end(list);
  return Fault() ? -1 : real(folder, name, flags, mode);
}

// Closing fails, yet the descriptor is gone, as on a disk that reports a late error.
int close(int file) {
  REAL(close);
  const int failed = Fault();
  const int error = errno;
  const int result = real(file);
  if (!failed) return result;
  errno = error;
  return -1;
}

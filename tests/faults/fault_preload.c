// A library to preload that makes the system calls of a command go wrong. It counts the calls that
// touch files between two marks, which the script sets by asking for the files FAULT-BEGIN and
// FAULT-END, and acts at one of them:
//
//   FAULT_AT=N      the call to act at, from 1 on
//   FAULT_DO=…      error:E   the call fails with that error number
//                   errors:E  so do it and every later one
//                   kill      the process dies before the call
//                   stuck     the first write from there takes eight seconds; the file "stuck" tells
//                   crawl     it and every later one takes five milliseconds; the file "crawling"
//                             tells
//                   slow      it and every later one that reads or writes takes a tenth of a second
//                   short     it, when it reads or writes, handles half of the bytes
//                   swap      FAULT_PATH is renamed to FAULT_ASIDE and becomes a link to FAULT_LINK
//                   vanish    the file FAULT_PATH is removed
//                   appear    somebody makes the file FAULT_PATH, unless it exists
//                   replace   somebody puts another file in the place of FAULT_PATH, if it exists
//                   (the last four act before the call, which is then made)
//   FAULT_IN=F      only calls of that function count
//   FAULT_REFUSE=…  what the file system cannot do, separated by commas: renameat2 (without
//                   replacing), copy_file_range, d_type (directories do not tell entries' types);
//                   locks, before the first mark, too
//   FAULT_SLOW=N    each call takes N milliseconds more
//   FAULT_COUNT=F   to that file goes how often anything was done to the files and the function at
//                   which, then all functions that were called, one a line
//
// What the file functions of the C library call among themselves cannot be seen from here; those
// that make several system calls count as one. run.py holds the names that a program imports
// against those defined here, so that none goes by unseen.
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
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/xattr.h>
#include <unistd.h>

#define REAL(NAME) __typeof__(&NAME) real = (__typeof__(&NAME))dlsym(RTLD_NEXT, #NAME)

static int counting;
static long calls;
static long acts;
static const char* called[1 << 19];
static const char* actedAt = "none";
static int halve;  // the present call is to handle half of its bytes

static int Mark(const char* path) {
  const char* name = path ? strstr(path, "FAULT-") : NULL;
  if (!name) return 0;
  if (strcmp(name, "FAULT-BEGIN") == 0) counting = 1;
  if (strcmp(name, "FAULT-END") == 0 && counting) {
    counting = 0;
    const char* file = getenv("FAULT_COUNT");
    FILE* out = file ? fopen(file, "w") : NULL;
    if (out) {
      fprintf(out, "%ld %s\n", acts, actedAt);
      for (long i = 0; i < calls; ++i) fprintf(out, "%s\n", called[i]);
      fclose(out);
    }
  }
  return 1;
}

static int Write(const char* path, const char* text) {
  const int file = open(path, O_WRONLY | O_CREAT | O_EXCL, 0644);
  if (file < 0) return 0;
  if (write(file, text, strlen(text)) < 0) abort();
  close(file);
  return 1;
}

// What somebody else does to the files meanwhile.
static void Interfere(const char* what) {
  const char* path = getenv("FAULT_PATH");
  if (strcmp(what, "swap") == 0 && rename(path, getenv("FAULT_ASIDE")) == 0) {
    if (symlink(getenv("FAULT_LINK"), path) != 0) abort();
    ++acts;
  }
  if (strcmp(what, "vanish") == 0) acts += unlink(path) == 0;
  if (strcmp(what, "appear") == 0) acts += Write(path, "theirs");
  if (strcmp(what, "replace") == 0 && access(path, F_OK) == 0) {
    if (!Write("theirs", "theirs") || rename("theirs", path) != 0) abort();
    ++acts;
  }
}

// True when the call is to fail, errno then being set.
static int Fault(const char* name) {
  halve = 0;
  if (!counting) return 0;
  const char* only = getenv("FAULT_IN");
  if (only && strcmp(name, only) != 0) return 0;
  if (calls == sizeof called / sizeof *called) abort();
  called[calls++] = name;
  const char* slow = getenv("FAULT_SLOW");
  if (slow) usleep((useconds_t)atol(slow) * 1000);
  const char* at = getenv("FAULT_AT");
  const char* what = getenv("FAULT_DO");
  if (!at || !what || calls < atol(at)) return 0;
  if (strcmp(what, "stuck") == 0) {
    static int isStuck = 0;
    if (isStuck || strcmp(name, "write") != 0) return 0;
    isStuck = 1;
    counting = 0;
    Write("stuck", "");
    counting = 1;
    for (int i = 0; i < 80; ++i) usleep(100000);  // which signals interrupt
    return 0;
  }
  if (strcmp(what, "crawl") == 0) {
    if (calls == atol(at)) {
      counting = 0;
      Write("crawling", "");
      counting = 1;
    }
    usleep(5000);
    return 0;
  }
  if (strcmp(what, "slow") == 0) {
    const int isLong = strcmp(name, "read") == 0 || strcmp(name, "write") == 0 ||
                       strcmp(name, "copy_file_range") == 0;
    if (isLong) usleep(100000);
    return 0;
  }
  const int forGood = strncmp(what, "errors:", 7) == 0;
  if (calls > atol(at) && !forGood) return 0;
  actedAt = name;
  if (strcmp(what, "kill") == 0) kill(getpid(), SIGKILL);
  if (forGood || strncmp(what, "error:", 6) == 0) {
    errno = atoi(strchr(what, ':') + 1);
    return 1;
  }
  counting = 0;
  if (strcmp(what, "short") == 0) {
    halve = 1;
  } else {
    Interfere(what);
  }
  counting = 1;
  return 0;
}

static int Refuses(const char* name) {
  const char* list = getenv("FAULT_REFUSE");
  return counting && list && strstr(list, name) != NULL;
}

// The descriptors through which something was written: only what was written can be lost.
static unsigned char isWritten[1 << 16];

static void SetWritten(int file, int written) {
  if (file >= 0 && file < (int)sizeof isWritten) isWritten[file] = (unsigned char)written;
}

static size_t Length(size_t length) {
  if (!halve || length < 2) return length;
  ++acts;
  return length / 2;
}

#define WRAP_RETURNING(RESULT, FAILED, NAME, PARAMETERS, ARGUMENTS) \
  RESULT NAME PARAMETERS {                                          \
    REAL(NAME);                                                     \
    return Fault(__func__) ? FAILED : real ARGUMENTS;               \
  }
#define WRAP(RESULT, NAME, PARAMETERS, ARGUMENTS) \
  WRAP_RETURNING(RESULT, -1, NAME, PARAMETERS, ARGUMENTS)
// Reading and writing, where `length` says how much and `to` is written to, -1 for none.
#define WRAP_LENGTH(RESULT, NAME, PARAMETERS, ARGUMENTS, TO) \
  RESULT NAME PARAMETERS {                                   \
    REAL(NAME);                                              \
    if (Fault(__func__)) return -1;                          \
    length = Length(length);                                 \
    SetWritten(TO, 1);                                       \
    return real ARGUMENTS;                                   \
  }
// Asking for a name; the marks come this way.
#define WRAP_MARK(NAME, PARAMETERS, ARGUMENTS)                   \
  int NAME PARAMETERS {                                          \
    REAL(NAME);                                                  \
    return !Mark(name) && Fault(__func__) ? -1 : real ARGUMENTS; \
  }

WRAP_LENGTH(ssize_t, read, (int file, void* out, size_t length), (file, out, length), -1)
WRAP_LENGTH(ssize_t, write, (int file, const void* data, size_t length), (file, data, length), file)
WRAP_LENGTH(ssize_t, pread, (int file, void* out, size_t length, off_t at), (file, out, length, at),
            -1)
WRAP_LENGTH(ssize_t, pwrite, (int file, const void* data, size_t length, off_t at),
            (file, data, length, at), file)
WRAP_LENGTH(ssize_t, sendfile, (int to, int from, off_t* at, size_t length), (to, from, at, length),
            to)

WRAP_MARK(stat, (const char* name, struct stat* status), (name, status))
WRAP_MARK(lstat, (const char* name, struct stat* status), (name, status))
WRAP_MARK(fstatat, (int folder, const char* name, struct stat* status, int flags),
          (folder, name, status, flags))
WRAP_MARK(statx, (int folder, const char* name, int flags, unsigned mask, struct statx* status),
          (folder, name, flags, mask, status))
WRAP_MARK(access, (const char* name, int mode), (name, mode))
WRAP_MARK(faccessat, (int folder, const char* name, int mode, int flags),
          (folder, name, mode, flags))

WRAP(int, fstat, (int file, struct stat* status), (file, status))
WRAP(int, mkdir, (const char* name, mode_t mode), (name, mode))
WRAP(int, mkdirat, (int folder, const char* name, mode_t mode), (folder, name, mode))
WRAP(int, rmdir, (const char* name), (name))
WRAP(int, unlink, (const char* name), (name))
WRAP(int, unlinkat, (int folder, const char* name, int flags), (folder, name, flags))
WRAP(int, remove, (const char* name), (name))
WRAP(int, rename, (const char* from, const char* to), (from, to))
WRAP(int, renameat, (int f, const char* from, int t, const char* to), (f, from, t, to))
WRAP(int, link, (const char* from, const char* to), (from, to))
WRAP(int, linkat, (int f, const char* from, int t, const char* to, int flags),
     (f, from, t, to, flags))
WRAP(int, symlink, (const char* text, const char* name), (text, name))
WRAP(int, symlinkat, (const char* text, int folder, const char* name), (text, folder, name))
WRAP(ssize_t, readlink, (const char* name, char* out, size_t room), (name, out, room))
WRAP(ssize_t, readlinkat, (int folder, const char* name, char* out, size_t room),
     (folder, name, out, room))
WRAP_RETURNING(char*, NULL, realpath, (const char* name, char* out), (name, out))
WRAP_RETURNING(char*, NULL, getcwd, (char* out, size_t room), (out, room))
WRAP(int, chdir, (const char* name), (name))
WRAP(int, fchdir, (int folder), (folder))
WRAP(int, chmod, (const char* name, mode_t mode), (name, mode))
WRAP(int, fchmod, (int file, mode_t mode), (file, mode))
WRAP(int, fchown, (int file, uid_t user, gid_t group), (file, user, group))
WRAP(int, fchownat, (int folder, const char* name, uid_t user, gid_t group, int flags),
     (folder, name, user, group, flags))
WRAP(ssize_t, flistxattr, (int file, char* names, size_t room), (file, names, room))
WRAP(ssize_t, listxattr, (const char* name, char* names, size_t room), (name, names, room))
WRAP(ssize_t, fgetxattr, (int file, const char* name, void* out, size_t room),
     (file, name, out, room))
WRAP(ssize_t, getxattr, (const char* path, const char* name, void* out, size_t room),
     (path, name, out, room))
WRAP(int, fremovexattr, (int file, const char* name), (file, name))
WRAP(int, fsetxattr, (int file, const char* name, const void* value, size_t length, int flags),
     (file, name, value, length, flags))
WRAP(int, fallocate, (int file, int mode, off_t at, off_t length), (file, mode, at, length))
WRAP(int, fchmodat, (int folder, const char* name, mode_t mode, int flags),
     (folder, name, mode, flags))
WRAP(int, futimens, (int file, const struct timespec times[2]), (file, times))
WRAP(int, utimensat, (int folder, const char* name, const struct timespec times[2], int flags),
     (folder, name, times, flags))
WRAP(int, ftruncate, (int file, off_t length), (file, length))
WRAP(int, fsync, (int file), (file))
WRAP(int, fdatasync, (int file), (file))
WRAP(int, mkstemp, (char* name), (name))
WRAP_RETURNING(DIR*, NULL, opendir, (const char* name), (name))
WRAP_RETURNING(DIR*, NULL, fdopendir, (int file), (file))

int renameat2(int f, const char* from, int t, const char* to, unsigned flags) {
  REAL(renameat2);
  if (Refuses("renameat2")) {
    errno = EINVAL;
    return -1;
  }
  return Fault(__func__) ? -1 : real(f, from, t, to, flags);
}

int fcntl(int file, int command, ...) {
  REAL(fcntl);
  va_list list;
  va_start(list, command);
  void* argument = va_arg(list, void*);
  va_end(list);
  const char* refused = getenv("FAULT_REFUSE");
  if (command == F_OFD_SETLK && refused && strstr(refused, "locks")) {
    errno = ENOLCK;
    return -1;
  }
  const int locks = command == F_OFD_SETLK || command == F_OFD_GETLK;
  return locks && Fault(__func__) ? -1 : real(file, command, argument);
}

ssize_t copy_file_range(int from, off64_t* a, int to, off64_t* b, size_t length, unsigned flags) {
  REAL(copy_file_range);
  if (Refuses("copy_file_range")) {
    errno = EOPNOTSUPP;
    return -1;
  }
  SetWritten(to, 1);
  return Fault(__func__) ? -1 : real(from, a, to, b, Length(length), flags);
}

ssize_t getdents64(int folder, void* out, size_t room) {
  REAL(getdents64);
  if (Fault(__func__)) return -1;
  const ssize_t bytes = real(folder, out, room);
  if (!Refuses("d_type")) return bytes;
  for (char* read = out; read < (char*)out + bytes; read += ((struct dirent64*)read)->d_reclen) {
    ((struct dirent64*)read)->d_type = DT_UNKNOWN;
  }
  return bytes;
}

struct dirent* readdir(DIR* folder) {
  REAL(readdir);
  if (Fault(__func__)) return NULL;
  struct dirent* entry = real(folder);
  if (entry && Refuses("d_type")) entry->d_type = DT_UNKNOWN;
  return entry;
}

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
  return Fault(__func__) ? -1 : real(name, flags, mode);
}

int openat(int folder, const char* name, int flags, ...) {
  REAL(openat);
  MODE(flags)
  return Fault(__func__) ? -1 : real(folder, name, flags, mode);
}

// Half of a file that was written is lost.
static void Lose(int file) {
  struct stat status;
  const int before = counting;
  counting = 0;
  if (file >= 0 && file < (int)sizeof isWritten && isWritten[file] && fstat(file, &status) == 0 &&
      S_ISREG(status.st_mode) && ftruncate(file, status.st_size / 2) != 0) {
    abort();
  }
  counting = before;
}

// Closing fails, yet the descriptor is gone, as on a disk that tells only now that it could not
// store what was written. An interrupted close loses nothing.
#define WRAP_CLOSE(NAME, PARAMETER, DESCRIPTOR)     \
  int NAME(PARAMETER file) {                        \
    REAL(NAME);                                     \
    const int failed = Fault(__func__);             \
    const int error = errno;                        \
    if (failed && error != EINTR) Lose(DESCRIPTOR); \
    SetWritten(DESCRIPTOR, 0);                      \
    const int result = real(file);                  \
    if (!failed) return result;                     \
    errno = error;                                  \
    return -1;                                      \
  }

WRAP_CLOSE(close, int, file)
WRAP_CLOSE(closedir, DIR*, dirfd(file))

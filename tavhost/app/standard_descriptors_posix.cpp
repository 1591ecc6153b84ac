#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

// A caller may start the program with descriptor 0, 1 or 2 closed. The next file that is opened
// would then take that number, and what is meant for standard output would be written into it. So
// they are taken before anything else runs: before the initialisers of the libraries and of this
// program, which open files too.
namespace app {

namespace {

// Standard input is empty. The others are open for the other direction: writing to them fails, as
// it does where they are closed, and is told.
//
// By system calls alone: neither the C library nor a sanitizer is ready when this runs.
__attribute__((no_sanitize("address", "thread", "undefined"))) void TakeClosedDescriptors(int,
                                                                                          char**,
                                                                                          char**) {
  for (int descriptor = 0; descriptor <= 2; ++descriptor) {
    if (syscall(SYS_fcntl, descriptor, F_GETFD) >= 0) continue;
    // The lowest free number, which is this one: those below it are open by now.
    syscall(SYS_openat, AT_FDCWD, "/dev/null", O_RDONLY, 0);
  }
}

using Initialiser = void (*)(int, char**, char**);
__attribute__((section(".preinit_array"), used)) Initialiser takeClosedDescriptors =
    TakeClosedDescriptors;

}  // namespace

}  // namespace app

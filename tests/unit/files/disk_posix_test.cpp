// The database file area when the system fails half-way. Functions of the system are replaced here
// by this test's own, which fail when the test wants it and otherwise pass on to the system's.
#include "tavhost/files/disk.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>

#include <cerrno>
#include <cstdarg>

#include "host/files/file_manager.h"
#include "tavhost/files/database_area.h"
#include "tests/support/scratch_folder.h"

namespace {

bool listingFails = false;
bool appendingFails = false;  // the new file for it cannot be made

template <typename Function>
Function* Next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" struct dirent* readdir(DIR* directory) {
  static auto* const next = Next<struct dirent*(DIR*)>("readdir");
  if (!listingFails) return next(directory);
  errno = EIO;
  return nullptr;
}

extern "C" int openat(int folder, const char* name, int flags, ...) {
  static auto* const next = Next<int(int, const char*, int, ...)>("openat");
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  if (!appendingFails || (flags & O_EXCL) == 0) return next(folder, name, flags, mode);
  errno = EMFILE;
  return -1;
}

namespace {

class Disk : public ScratchFolder {
 protected:
  void SetUp() override {
    ScratchFolder::SetUp();
    database_area::SetFolder(folder_ + "/area");
    Write("area/0/x", "old");
  }
  void TearDown() override {
    listingFails = appendingFails = false;
    database_area::SetFolder("");
    ScratchFolder::TearDown();
  }
};

TEST_F(Disk, AFolderThatCannotBeReadToItsEndIsNoList) {
  std::set<SV::String, std::less<SV::String>> names;
  listingFails = true;
  const bool listed = TavFileManager::getAllDBFilesOfDir(0, names);
  const TavFileHandle opened = TavFileManager::fileOpenWrite("db:\\X", 2, -1);
  listingFails = false;
  EXPECT_FALSE(listed);
  EXPECT_EQ(opened, 0) << "x may be the file that is meant";
  EXPECT_EQ(CountEntries("area/0"), 1);
  EXPECT_TRUE(TavFileManager::getAllDBFilesOfDir(0, names));
  EXPECT_EQ(names.size(), 1u);
}

TEST_F(Disk, AFileThatCannotBeAppendedToLeavesNothingBesideIt) {
  appendingFails = true;
  EXPECT_EQ(TavFileManager::fileOpenWrite("db:\\x", 2 + 8, -1), 0);
  appendingFails = false;
  EXPECT_EQ(Read("area/0/x"), "old");
  EXPECT_EQ(CountEntries("area/0"), 1);
}

}  // namespace

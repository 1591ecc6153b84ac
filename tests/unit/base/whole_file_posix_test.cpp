#include "tavhost/base/whole_file.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/xattr.h>

#include <tl/expected.hpp>

#include "tavhost/base/stop.h"
#include "tests/support/scratch_folder.h"

namespace {

using base::WholeFile;
using base::WriteWholeFile;

class WholeFileTest : public ScratchFolder {
 protected:
  static struct stat StatusOf(const std::string& path) {
    struct stat status = {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0);
    return status;
  }
  static std::unique_ptr<WholeFile> Open(const std::string& path,
                                         const WholeFile::Options& options = {}) {
    auto file = WholeFile::Open(path, options);
    EXPECT_TRUE(file.has_value());
    return file ? std::move(*file) : nullptr;
  }
};

TEST_F(WholeFileTest, IsOldUntilItIsStoredAndWholeThen) {
  Write("file", "old");
  auto file = Open("file");
  EXPECT_TRUE(file->Write("new "));
  EXPECT_EQ(Read("file"), "old");
  EXPECT_EQ(CountEntries("."), 2);
  EXPECT_TRUE(file->Write("text"));
  EXPECT_TRUE(file->Store());
  EXPECT_EQ(Read("file"), "new text");
  EXPECT_EQ(CountEntries("."), 1);
}

TEST_F(WholeFileTest, WhatIsNotStoredGoes) {
  Write("file", "old");
  EXPECT_TRUE(Open("file")->Write("new"));
  EXPECT_TRUE(Open("other")->Write("new"));
  EXPECT_EQ(Read("file"), "old");
  EXPECT_EQ(CountEntries("."), 1);
}

TEST_F(WholeFileTest, KeepsModeAndAttributesAndBeginsPrivately) {
  Write("file", "old");
  chmod("file", 0640);
  const bool hasAttributes = setxattr("file", "user.origin", "here", 4, 0) == 0;
  auto file = Open("file");
  for (const auto& entry : std::filesystem::directory_iterator(".")) {
    EXPECT_EQ(StatusOf(entry.path()).st_mode & 0007, 0u) << entry.path();
  }
  EXPECT_TRUE(file->Write("new"));
  EXPECT_TRUE(file->Store());
  EXPECT_EQ(StatusOf("file").st_mode & 07777, 0640u);
  char value[8];
  if (hasAttributes) {
    EXPECT_EQ(getxattr("file", "user.origin", value, sizeof value), 4);
  }
}

TEST_F(WholeFileTest, ANewFileIsForAllOrForItsOwnerAlone) {
  const mode_t before = umask(022);
  EXPECT_TRUE(WriteWholeFile("all", "x", {}));
  WholeFile::Options options;
  options.ownerOnly = true;
  EXPECT_TRUE(WriteWholeFile("own", "x", options));
  umask(before);
  EXPECT_EQ(StatusOf("all").st_mode & 0777, 0644u);
  EXPECT_EQ(StatusOf("own").st_mode & 0777, 0600u);
}

TEST_F(WholeFileTest, KeepsItsOwner) {
  if (geteuid() != 0) GTEST_SKIP() << "only the superuser can give files away";
  Write("file", "old");
  ASSERT_EQ(chown("file", 65534, 65533), 0);
  EXPECT_TRUE(WriteWholeFile("file", "new", {}));
  EXPECT_EQ(StatusOf("file").st_uid, 65534u);
  EXPECT_EQ(StatusOf("file").st_gid, 65533u);
}

TEST_F(WholeFileTest, AFileThatCannotKeepItsOwnerIsWrittenInPlace) {
  if (geteuid() != 0) GTEST_SKIP() << "only the superuser can give files away";
  Write("file", "old, and longer");
  chmod("file", 0666);
  chmod(".", 0777);
  const ino_t inode = StatusOf("file").st_ino;
  ASSERT_EQ(seteuid(65534), 0);
  const bool written = WriteWholeFile("file", "new", {}).has_value();
  ASSERT_EQ(seteuid(0), 0);
  EXPECT_TRUE(written);
  EXPECT_EQ(StatusOf("file").st_uid, 0u);
  EXPECT_EQ(StatusOf("file").st_ino, inode);
  EXPECT_EQ(Read("file"), "new");
  EXPECT_EQ(CountEntries("."), 1);
}

TEST_F(WholeFileTest, AFolderThatTakesNoNewFileIsWrittenIntoInPlace) {
  if (geteuid() != 0) GTEST_SKIP() << "needs two users";
  Write("d/file", "old");
  chmod("d/file", 0666);
  chmod("d", 0755);
  chmod(".", 0755);
  ASSERT_EQ(chown("d/file", 65534, 65534), 0);
  ASSERT_EQ(seteuid(65534), 0);
  const bool written = WriteWholeFile("d/file", "new", {}).has_value();
  const bool made = WriteWholeFile("d/other", "new", {}).has_value();
  ASSERT_EQ(seteuid(0), 0);
  EXPECT_TRUE(written);
  EXPECT_FALSE(made);
  EXPECT_EQ(Read("d/file"), "new");
}

TEST_F(WholeFileTest, HardLinksStayOneFile) {
  Write("file", "old, and longer");
  ASSERT_EQ(link("file", "other"), 0);
  EXPECT_TRUE(WriteWholeFile("file", "new", {}));
  EXPECT_EQ(Read("other"), "new");
  EXPECT_EQ(StatusOf("file").st_nlink, 2u);
  WholeFile::Options options;
  options.keepsContents = true;
  EXPECT_TRUE(WriteWholeFile("other", "er", options));
  EXPECT_EQ(Read("file"), "newer");
}

TEST_F(WholeFileTest, LinksAreFollowedAndStay) {
  std::filesystem::create_directories("d/e");
  Write("d/file", "old");
  ASSERT_EQ(symlink("d/near", "link"), 0);
  ASSERT_EQ(symlink("file", "d/near"), 0);
  ASSERT_EQ(symlink("e/made", "d/nowhere"), 0);
  ASSERT_EQ(symlink("loop", "loop"), 0);
  EXPECT_TRUE(WriteWholeFile("link", "new", {}));
  EXPECT_TRUE(WriteWholeFile("d/nowhere", "made", {}));
  EXPECT_EQ(Read("d/file"), "new");
  EXPECT_EQ(Read("d/e/made"), "made");
  EXPECT_TRUE(std::filesystem::is_symlink("link"));
  EXPECT_TRUE(std::filesystem::is_symlink("d/near"));
  EXPECT_TRUE(std::filesystem::is_symlink("d/nowhere"));
  EXPECT_FALSE(WriteWholeFile("loop", "x", {}));
  WholeFile::Options options;
  options.followsLink = false;
  EXPECT_FALSE(WriteWholeFile("link", "x", options));
}

TEST_F(WholeFileTest, WhatCannotBeAFileIsRefusedWithItsReason) {
  std::filesystem::create_directory("d");
  mkfifo("pipe", 0600);
  Write("locked", "keep");
  chmod("locked", 0444);
  const auto why = [](const char* path) {
    const auto written = WriteWholeFile(path, "x", {});
    return written ? std::string() : *written.error().file + ": " + written.error().message;
  };
  EXPECT_EQ(why("d"), "d: Is a directory");
  EXPECT_EQ(why("none/file"), "none/file: No such file or directory");
  EXPECT_EQ(why("locked"), "locked: Permission denied");
  EXPECT_NE(why("pipe"), "");
  EXPECT_NE(why("d/"), "");
  EXPECT_NE(why(""), "");
  EXPECT_EQ(Read("locked"), "keep");
  EXPECT_EQ(CountEntries("."), 3);
}

TEST_F(WholeFileTest, BeginsWithWhatTheFileHolds) {
  WholeFile::Options options;
  options.keepsContents = true;
  EXPECT_TRUE(WriteWholeFile("file", "one", options));
  EXPECT_TRUE(WriteWholeFile("file", ", two", options));
  EXPECT_EQ(Read("file"), "one, two");
}

TEST_F(WholeFileTest, AStandardStreamKeepsItsFile) {
  Write("file", "old");
  const int kept = dup(STDIN_FILENO);
  const int file = open("file", O_RDONLY);
  ASSERT_EQ(dup2(file, STDIN_FILENO), 0);
  const ino_t inode = StatusOf("file").st_ino;
  const bool written = WriteWholeFile("file", "new", {}).has_value();
  dup2(kept, STDIN_FILENO);
  close(kept);
  close(file);
  EXPECT_TRUE(written);
  EXPECT_EQ(StatusOf("file").st_ino, inode);
  EXPECT_EQ(Read("file"), "new");
}

TEST_F(WholeFileTest, ATextThatDoesNotFitLeavesTheFile) {
  Write("file", "old");
  Write("linked", "old");
  ASSERT_EQ(link("linked", "other"), 0);
  struct rlimit before;
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
  struct rlimit small = before;
  small.rlim_cur = 5;
  const auto ignored = signal(SIGXFSZ, SIG_IGN);
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  const auto replaced = WriteWholeFile("file", "too long", {});
  auto twice = Open("file");
  const bool first = twice->Write("four").has_value();
  const bool second = twice->Write("more").has_value();
  const bool stored = twice->Store().has_value();
  setrlimit(RLIMIT_FSIZE, &before);
  signal(SIGXFSZ, ignored);
  EXPECT_FALSE(replaced);
  EXPECT_TRUE(first);
  EXPECT_FALSE(second);
  EXPECT_FALSE(stored);
  twice.reset();
  EXPECT_EQ(Read("file"), "old");
  EXPECT_EQ(CountEntries("."), 3);
}

TEST_F(WholeFileTest, TheCurrentDirectoryMayChangeMeanwhile) {
  std::filesystem::create_directories("a/b");
  auto file = Open("file");
  EXPECT_TRUE(file->Write("x"));
  std::filesystem::current_path("a/b");
  EXPECT_TRUE(file->Store());
  std::filesystem::current_path("../..");
  EXPECT_EQ(Read("file"), "x");
}

TEST_F(WholeFileTest, AStopLeavesTheOldFileWhereTheWriterWantsIt) {
  Write("file", "old");
  WholeFile::Options options;
  options.stoppable = true;
  auto file = Open("file", options);
  stop::Request(stop::Reason::kUser);
  EXPECT_THROW((void)file->Write("new"), stop::Stopped);
  const bool written = WriteWholeFile("other", "kept", {}).has_value();
  stop::Clear();
  EXPECT_FALSE(file->Store());
  file.reset();
  EXPECT_TRUE(written);
  EXPECT_EQ(Read("file"), "old");
  EXPECT_EQ(Read("other"), "kept");
  EXPECT_EQ(CountEntries("."), 2);
}

}  // namespace

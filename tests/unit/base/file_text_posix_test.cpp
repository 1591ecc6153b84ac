// What only POSIX systems have: files that open and cannot be read, pipes.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <tl/expected.hpp>

#include "tavhost/base/file_text.h"

namespace {

std::string ErrorOf(const std::string& name) {
  const base::Result<std::string> text = base::ReadFileText(name);
  return text ? "it was read" : text.error().message;
}

TEST(FileTextPosix, OfAFileThatFailsWhileItIsReadIsAnError) {
  // The first page of a process's memory is never there.
  EXPECT_EQ(ErrorOf("/proc/self/mem"), "Input/output error");
}

TEST(FileTextPosix, OfAFileThatMayNotBeReadIsAnError) {
  if (geteuid() == 0) GTEST_SKIP() << "nothing is forbidden to this user";
  const std::string name = testing::TempDir() + "tavhost-forbidden";
  std::ofstream(name) << "text";
  ASSERT_EQ(chmod(name.c_str(), 0), 0);
  EXPECT_EQ(ErrorOf(name), "Permission denied");
  std::filesystem::remove(name);
}

TEST(FileTextPosix, ANewFileIsItsOwnersAlone) {
  const std::string name = testing::TempDir() + "tavhost-written-" + std::to_string(getpid());
  const auto modeOf = [&name] {
    struct stat status {};
    EXPECT_EQ(stat(name.c_str(), &status), 0);
    return status.st_mode & 07777;
  };
  const mode_t mask = umask(0);
  std::FILE* const made = base::OpenForWriting(name);
  ASSERT_NE(made, nullptr);
  std::fputs("text", made);
  std::fclose(made);
  EXPECT_EQ(modeOf(), 0600U);
  // One that is there is as its owner wants it.
  ASSERT_EQ(chmod(name.c_str(), 0644), 0);
  std::FILE* const again = base::OpenForWriting(name);
  ASSERT_NE(again, nullptr);
  std::fclose(again);
  EXPECT_EQ(modeOf(), 0644U);
  EXPECT_EQ(std::filesystem::file_size(name), 0U);
  umask(mask);
  std::filesystem::remove(name);
}

TEST(FileTextPosix, OfAPipeIsWhatComesUntilItIsClosed) {
  const std::string name = testing::TempDir() + "tavhost-pipe-" + std::to_string(getpid());
  ASSERT_EQ(mkfifo(name.c_str(), 0600), 0);
  const std::string bytes(300000, 'p');  // more than a pipe holds
  std::thread writer([&] { std::ofstream(name, std::ios::binary) << "begin " << bytes << " end"; });
  const base::Result<std::string> text = base::ReadFileText(name);
  writer.join();
  std::filesystem::remove(name);
  ASSERT_TRUE(text);
  EXPECT_TRUE(*text == "begin " + bytes + " end") << text->size();
}

}  // namespace

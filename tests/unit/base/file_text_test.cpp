#include "tavhost/base/file_text.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <tl/expected.hpp>

namespace {

class FileText : public testing::Test {
 protected:
  void SetUp() override {
    const auto* const info = testing::UnitTest::GetInstance()->current_test_info();
    folder_ = std::filesystem::path(testing::TempDir()) / (std::string("tavhost-") + info->name());
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directory(folder_);
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  // The name, as UTF-8, of a new file with these bytes.
  std::string Write(const std::u8string& name, const std::string& bytes) {
    const std::filesystem::path path = folder_ / name;
    std::ofstream(path, std::ios::binary) << bytes;
    return Name(path);
  }
  static std::string Name(const std::filesystem::path& path) {
    const std::u8string name = path.u8string();
    return {reinterpret_cast<const char*>(name.data()), name.size()};
  }
  static std::string ErrorOf(const std::string& name) {
    const base::Result<std::string> text = base::ReadFileText(name);
    return text ? "it was read" : text.error().message;
  }

  std::filesystem::path folder_;
};

TEST_F(FileText, IsEveryByteAsItStands) {
  const std::string bytes = std::string("a\0b\r\nc\x1A\xFF", 8) + "\n";
  EXPECT_EQ(base::ReadFileText(Write(u8"bytes", bytes)), bytes);
  EXPECT_EQ(base::ReadFileText(Write(u8"empty", "")), "");
}

TEST_F(FileText, IsWholeWhateverItsSize) {
  // What is read at once, and around it; and far more.
  for (const std::size_t size : {65535u, 65536u, 65537u, 5000000u}) {
    std::string bytes(size, 'x');
    for (std::size_t i = 0; i < size; i += 997) bytes[i] = static_cast<char>(i);
    const base::Result<std::string> text = base::ReadFileText(Write(u8"large", bytes));
    ASSERT_TRUE(text) << size;
    EXPECT_TRUE(*text == bytes) << size;
  }
}

TEST_F(FileText, IsFoundByItsNameInUtf8) {
  EXPECT_EQ(base::ReadFileText(Write(u8"größe €.txt", "found")), "found");
}

TEST_F(FileText, OfAFileThatIsNotThereIsAnError) {
  EXPECT_EQ(ErrorOf(Name(folder_ / "none")), "No such file or directory");
  EXPECT_EQ(ErrorOf(Name(folder_ / "none" / "below")), "No such file or directory");
  EXPECT_EQ(ErrorOf(""), "No such file or directory");
}

TEST_F(FileText, TheErrorNamesNoPlace) {
  const base::Result<std::string> text = base::ReadFileText(Name(folder_ / "none"));
  ASSERT_FALSE(text);
  EXPECT_EQ(text.error().file, std::nullopt) << "callers tell the file in words of their own";
}

TEST_F(FileText, OfAFolderIsAnError) {
  const std::string error = ErrorOf(Name(folder_));
  EXPECT_TRUE(error == "Is a directory" || error == "Permission denied") << error;
}

TEST_F(FileText, OfAStreamIsWhatIsLeftOfIt) {
  std::FILE* const stream = base::OpenForReading(Write(u8"stream", "one\ntwo\n"));
  ASSERT_TRUE(stream);
  char line[5];
  ASSERT_TRUE(std::fgets(line, sizeof line, stream));
  EXPECT_EQ(base::ReadStreamText(stream), "two\n");
  EXPECT_EQ(base::ReadStreamText(stream), "") << "nothing is left at its end";
  std::fclose(stream);
}

}  // namespace

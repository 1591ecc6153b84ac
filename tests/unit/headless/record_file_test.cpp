#include "tavhost/headless/record_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <tl/expected.hpp>

namespace {

namespace fs = std::filesystem;

class RecordFile : public testing::Test {
 protected:
  void SetUp() override {
    folder_ = fs::temp_directory_path() / "tavhost-record-file";
    fs::remove_all(folder_);
    fs::create_directory(folder_);
    path_ = (folder_ / "r.kel").string();
  }
  void TearDown() override { fs::remove_all(folder_); }

  std::unique_ptr<ui::RecordFile> Open() {
    auto opened = ui::RecordFile::Open(path_);
    if (opened) return std::move(*opened);
    ADD_FAILURE() << opened.error().message;
    return nullptr;
  }
  void Put(const std::string& text) const { std::ofstream(path_, std::ios::binary) << text; }
  std::string Text() const {
    std::stringstream text;
    text << std::ifstream(path_, std::ios::binary).rdbuf();
    return text.str();
  }
  std::ptrdiff_t Count() const {
    return std::distance(fs::directory_iterator(folder_), fs::directory_iterator());
  }

  fs::path folder_;
  std::string path_;
};

TEST_F(RecordFile, TakesThePlaceOfTheOneBeforeWhenItIsWhole) {
  Put("before");
  const auto file = Open();
  file->Write("one\n");
  EXPECT_EQ(Text(), "before");
  file->Write("two\n");
  EXPECT_TRUE(file->Keep());
  EXPECT_EQ(Text(), "one\ntwo\n");
  EXPECT_EQ(Count(), 1);
}

TEST_F(RecordFile, ThatIsNotKeptLeavesNothing) {
  Put("before");
  Open()->Write("one\n");
  EXPECT_EQ(Text(), "before");
  EXPECT_EQ(Count(), 1);
}

TEST_F(RecordFile, GoesWhereItWasNamedWhateverTheFolderIsThen) {
  const fs::path before = fs::current_path();
  fs::current_path(folder_);
  path_ = "r.kel";
  const auto file = Open();
  fs::current_path(before);
  file->Write("one\n");
  EXPECT_TRUE(file->Keep());
  path_ = (folder_ / "r.kel").string();
  EXPECT_EQ(Text(), "one\n");
}

TEST_F(RecordFile, CannotBeMadeWhereThereIsNoFolder) {
  EXPECT_FALSE(ui::RecordFile::Open((folder_ / "none" / "r.kel").string()));
  EXPECT_FALSE(ui::RecordFile::Open(folder_.string()));
}

TEST_F(RecordFile, DoesNotReplaceWhatIsReadOnly) {
  Put("before");
  fs::permissions(path_, fs::perms::owner_read);
  EXPECT_FALSE(ui::RecordFile::Open(path_));
  fs::permissions(path_, fs::perms::owner_all);
  EXPECT_EQ(Text(), "before");
}

}  // namespace

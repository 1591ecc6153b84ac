#include "tavhost/tools/image_files.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "tavhost/files/database_area.h"

namespace {

namespace fs = std::filesystem;

class ImageFiles : public testing::Test {
 protected:
  void SetUp() override {
    folder_ = fs::temp_directory_path() / "tavhost-image-files";
    fs::remove_all(folder_);
    database_area::SetFolder(folder_.string());
    ASSERT_TRUE(database_area::MakeLibrary(5));
    for (const char* name : {"b.PNG", "a.jpg", "c.txt", "d.svg", "png", ".png", "e.tar.gif"}) {
      std::ofstream(folder_ / "5" / name) << "x";
    }
    fs::create_directory(folder_ / "5" / "folder.png");
  }
  void TearDown() override {
    database_area::SetFolder("");
    fs::remove_all(folder_);
  }

  std::string Names(std::string_view extensions) {
    std::string names;
    for (const auto& entry : image_files::Find(5, extensions)) {
      names += (names.empty() ? "" : " ") + entry.name;
      EXPECT_TRUE(fs::exists(entry.file)) << entry.file;
    }
    return names;
  }

  fs::path folder_;
};

TEST_F(ImageFiles, AreThoseOfTheKindsAskedForByNameWithoutCase) {
  EXPECT_EQ(Names("png"), ".png b.PNG");
  EXPECT_EQ(Names("*.JPG;*.png"), ".png a.jpg b.PNG");
  EXPECT_EQ(Names("gif svg"), "d.svg e.tar.gif");
  EXPECT_EQ(Names("zzz"), "");
}

TEST_F(ImageFiles, AreOfEveryKindShownWhenNoneIsAskedFor) {
  EXPECT_EQ(Names(""), ".png a.jpg b.PNG d.svg e.tar.gif");
  EXPECT_EQ(Names("*.*"), ".png a.jpg b.PNG d.svg e.tar.gif");
  EXPECT_TRUE(image_files::Find(6, "").empty()) << "a library that there is not";
}

}  // namespace

#include "host/dialog/tlb_image_pool.h"

#include "host/base/string.h"
#include "host/sv/image.h"
#include "tavhost/files/database_area.h"
#include "tavhost/files/program_path.h"
#include "tavhost/ui/image_source.h"
#include "tests/support/scratch_folder.h"

namespace {

class ImagePool : public ScratchFolder {
 protected:
  void SetUp() override {
    ScratchFolder::SetUp();
    database_area::SetFolder(folder_ + "/area");
    program_path::Set(folder_ + "/scripts");
    std::filesystem::create_directories("area/0");
    std::filesystem::create_directories("scripts");
  }
  void TearDown() override {
    database_area::SetFolder("");
    program_path::Set("");
    ScratchFolder::TearDown();
  }

  std::string BytesOf(const char* name) {
    const SV::Image image = pool_.GetImage(name);
    return image.IsEmpty() ? "none" : image.Source()->bytes;
  }

  TavTLBImagePool pool_;
};

TEST_F(ImagePool, TakesNamesOfTheDatabaseFileAreaFirst) {
  Write("area/0/a.png", "from the area");
  Write("a.png", "from here");
  EXPECT_EQ(BytesOf("a.png"), "from the area");
}

TEST_F(ImagePool, ThenFilesHereThenFilesBesideTheScript) {
  Write("a.png", "from here");
  Write("scripts/a.png", "beside the script");
  Write("scripts/b.png", "beside the script");
  EXPECT_EQ(BytesOf("a.png"), "from here");
  EXPECT_EQ(BytesOf("b.png"), "beside the script");
  EXPECT_EQ(BytesOf((folder_ + "/a.png").c_str()), "from here");
}

TEST_F(ImagePool, BuiltInIconsHaveTheirNamesToThemselves) {
  Write("folder", "a file");
  const SV::Image image = pool_.GetImage("folder");
  ASSERT_FALSE(image.IsEmpty());
  EXPECT_EQ(image.Source()->icon, "folder");
  EXPECT_EQ(image.Source()->bytes, "");
}

TEST_F(ImagePool, UnknownNamesAndEmptyFilesAreEmptyImages) {
  Write("empty.png", "");
  std::filesystem::create_directory("directory");
  for (const char* name : {"", "none.png", "empty.png", "directory", "db:\\..\\x", "Folder"}) {
    EXPECT_TRUE(pool_.GetImage(name).IsEmpty()) << name;
  }
}

TEST_F(ImagePool, KeepsWhatItHasReadButLooksForTheUnknownAgain) {
  EXPECT_EQ(BytesOf("a.png"), "none");
  Write("a.png", "1");
  EXPECT_EQ(BytesOf("a.png"), "1");
  Write("a.png", "2");
  EXPECT_EQ(BytesOf("a.png"), "1");
}

}  // namespace

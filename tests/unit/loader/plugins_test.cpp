#include "tavhost/loader/plugins.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <tl/expected.hpp>

#include "tavhost/loader/library_file.h"
#include "tavhost/loader/program_file.h"

namespace {

TEST(Program, KnowsWhereItLies) {
  EXPECT_TRUE(std::filesystem::is_regular_file(loader::ProgramPath()));
}

TEST(Plugins, LieBesideTheProgram) {
  const std::filesystem::path folder = loader::PluginFolder();
  EXPECT_TRUE(folder.is_absolute());
  EXPECT_EQ(folder.filename(), "plugins");
  EXPECT_EQ(folder.string().find(".."), std::string::npos);
}

TEST(Plugins, AreNotLoadedFromAnythingElse) {
  loader::Plugins plugins;
  const base::Result<void> loaded = plugins.Load("no-such-plugin");
  ASSERT_FALSE(loaded);
  const std::string error = loaded.error().Text();
  EXPECT_TRUE(error.starts_with("plug-in \"")) << error;
  EXPECT_NE(error.find("no-such-plugin\" cannot be read: "), std::string::npos) << error;
  EXPECT_FALSE(plugins.Load(loader::ProgramPath() + "x"));
}

TEST(LibraryFile, IsNotAText) {
  const auto path = std::filesystem::path(testing::TempDir()) / "text_library";
  const auto faultOf = [](const std::filesystem::path& file) {
    const base::Result<void> checked = loader::CheckLibraryFile(file.string());
    return checked ? "" : checked.error().message;
  };
  std::ofstream(path) << std::string(200, 'x');
  EXPECT_EQ(faultOf(path), "is not a shared library");
  std::ofstream(path, std::ios::trunc) << "";
  EXPECT_EQ(faultOf(path), "is not a shared library");
  std::filesystem::remove(path);
}

}  // namespace

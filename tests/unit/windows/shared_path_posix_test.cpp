#include "tavhost/windows/shared_path.h"

#include <gtest/gtest.h>

#include <memory>
#include <utility>

namespace {

using windows::SharedPath;

TEST(SharedPath, APathAndThoseInsideItAreThemselves) {
  const SharedPath top("a", {});
  const SharedPath inner("a/b", top);
  const SharedPath deep("a/b/c", inner);
  EXPECT_EQ(top.View(), "a");
  EXPECT_EQ(inner.View(), "a/b");
  EXPECT_EQ(deep.View(), "a/b/c");
  EXPECT_EQ(top.View().data(), deep.View().data()) << "they are kept together";
}

TEST(SharedPath, TheNextPathTakesTheRoomOfOneThatIsGone) {
  const SharedPath top("a", {});
  { const SharedPath first("a/first", top); }
  const SharedPath second("a/second", top);
  EXPECT_EQ(second.View(), "a/second");
  EXPECT_EQ(top.View(), "a");
  EXPECT_EQ(top.View().data(), second.View().data());
}

TEST(SharedPath, APathThatIsStillHeldIsNotWrittenOver) {
  const SharedPath top("a", {});
  const SharedPath first("a/first", top);
  const SharedPath second("a/second", top);
  EXPECT_EQ(first.View(), "a/first");
  EXPECT_EQ(second.View(), "a/second");
}

TEST(SharedPath, PathsOutliveThoseTheyCameFromInAnyOrder) {
  auto top = std::make_unique<SharedPath>("a", SharedPath());
  auto inner = std::make_unique<SharedPath>("a/b", *top);
  const SharedPath deep("a/b/c", *inner);
  top.reset();
  EXPECT_EQ(deep.View(), "a/b/c");
  inner.reset();
  EXPECT_EQ(deep.View(), "a/b/c");
  const SharedPath elsewhere("x", deep);
  EXPECT_EQ(elsewhere.View(), "x");
  EXPECT_EQ(deep.View(), "a/b/c");
}

TEST(SharedPath, APathInAFolderIsKeptTogetherWithIt) {
  const SharedPath top("a", {});
  const SharedPath inner = SharedPath::In(top, "b");
  const SharedPath same = SharedPath::In(top, "b");
  const SharedPath beside = SharedPath::In(top, "c/d");
  const SharedPath itself = SharedPath::In(inner, ".");
  EXPECT_EQ(inner.View(), "a/b");
  EXPECT_EQ(beside.View(), "a/c/d");
  EXPECT_EQ(itself.View(), "a/b");
  EXPECT_EQ(top.View().data(), inner.View().data());
  EXPECT_EQ(same.View().data(), inner.View().data());
  EXPECT_NE(beside.View().data(), inner.View().data()) << "it would write over the other";
  { const SharedPath gone = SharedPath::In(inner, "x"); }
  EXPECT_EQ(SharedPath::In(inner, "y").View(), "a/b/y");
}

TEST(SharedPath, APathInTheCurrentFolderOrInTheRootHasNoSeparatorMore) {
  EXPECT_EQ(SharedPath::In(SharedPath(".", {}), "b").View(), "b");
  EXPECT_EQ(SharedPath::In(SharedPath("/", {}), "b").View(), "/b");
  EXPECT_EQ(SharedPath::In(SharedPath("/", {}), ".").View(), "/");
  EXPECT_EQ(SharedPath::In(SharedPath(), "b").View(), "b");
}

TEST(SharedPath, MovesAndEmptyOnes) {
  SharedPath path("a/b", {});
  SharedPath moved(std::move(path));
  EXPECT_EQ(moved.View(), "a/b");
  SharedPath empty;
  EXPECT_TRUE(empty.IsEmpty());
  EXPECT_EQ(empty.View(), "");
  moved = SharedPath();
  EXPECT_TRUE(moved.IsEmpty());
  const SharedPath again("a/b/c", moved);
  EXPECT_EQ(again.View(), "a/b/c");
}

}  // namespace

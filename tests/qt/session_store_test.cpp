#include "tavhost/qt/ide/session_store.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <tl/expected.hpp>

namespace {

using ui::ide_view::SessionStore;

class SessionStoreTest : public testing::Test {
 protected:
  static SessionStore::Unsaved Text(const char* bytes) { return {QString(), bytes, 1, 1}; }
  QStringList Kept() const {
    return QDir(folder_.path()).entryList({QStringLiteral("unsaved-*")}, QDir::Files);
  }

  QTemporaryDir folder_;
};

TEST_F(SessionStoreTest, WhatIsTakenOverStaysUntilItIsKeptAgain) {
  {
    SessionStore killed(folder_.path());
    ASSERT_TRUE(killed.KeepUnsaved({Text("typed")}));
  }
  {
    SessionStore next(folder_.path());
    const auto lost = next.TakeLost();
    ASSERT_EQ(lost.size(), 1);
    EXPECT_EQ(lost[0].bytes, "typed");
    SessionStore other(folder_.path());
    EXPECT_TRUE(other.TakeLost().isEmpty()) << "another one has them";
    // It ends here by force, before anything was kept.
  }
  SessionStore last(folder_.path());
  const auto lost = last.TakeLost();
  ASSERT_EQ(lost.size(), 1);
  EXPECT_EQ(lost[0].bytes, "typed");
  ASSERT_TRUE(last.KeepUnsaved(lost));
  EXPECT_EQ(Kept().filter(QStringLiteral(".lock"), Qt::CaseSensitive).size(), 1);
  ASSERT_TRUE(last.KeepUnsaved({}));
  EXPECT_EQ(Kept().size(), 1) << "its own lock";
}

TEST_F(SessionStoreTest, AFolderThatCannotBeWrittenIsTold) {
  EXPECT_EQ(SessionStore(folder_.path()).Problem(), QString());
  QFile file(folder_.filePath(QStringLiteral("file")));
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  SessionStore store(file.fileName() + QStringLiteral("/folder"));
  EXPECT_TRUE(store.Problem().contains(QStringLiteral("file/folder")))
      << store.Problem().toStdString();
  const auto kept = store.KeepUnsaved({Text("typed")});
  ASSERT_FALSE(kept);
  EXPECT_NE(kept.error().message, "");
}

}  // namespace

// A workbench that is killed, and one whose disk is full.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <cstdlib>
#include <string>
#include <tl/expected.hpp>

#include "tavhost/qt/ide/session_store.h"

namespace {

using ui::ide_view::SessionStore;

QByteArray TextOf(int number) {
  return "begin " + QByteArray::number(number) + ' ' + QByteArray(number % 50 * 400, 'x') + " end";
}

// Keeps one text after the other and writes the number of each that is kept to `out`.
[[noreturn]] void KeepForEver(const QString& folder, int out) {
  SessionStore store(folder);
  for (int number = 1;; ++number) {
    if (!store.KeepUnsaved({{QString(), TextOf(number), 1, 1}})) _exit(1);
    if (write(out, &number, sizeof number) != sizeof number) _exit(2);
  }
}

// Lets a workbench keep texts until `count` of them are kept, kills it a moment of so many
// microseconds later, and returns the number of the last one that it has reported.
int KillAfter(const QString& folder, int count, int microseconds) {
  int ends[2];
  EXPECT_EQ(pipe(ends), 0);
  const pid_t child = fork();
  if (child == 0) KeepForEver(folder, ends[1]);
  close(ends[1]);
  int last = 0;
  int number = 0;
  while (last < count && read(ends[0], &number, sizeof number) == sizeof number) last = number;
  // Not a wait for anything: the moment is what is tested.
  usleep(static_cast<useconds_t>(microseconds));
  kill(child, SIGKILL);
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFSIGNALED(status)) << WEXITSTATUS(status);
  while (read(ends[0], &number, sizeof number) == sizeof number) last = number;
  close(ends[0]);
  return last;
}

TEST(SessionStoreKills, LoseNothingThatWasKept) {
  const char* const wanted = std::getenv("TAVHOST_KILLS");
  const int kills = wanted ? std::atoi(wanted) : 50;
  // In memory, where there is such a place: every text is put on the disk when it is kept.
  const QString memory = QStringLiteral("/dev/shm");
  const QString place = QFileInfo(memory).isWritable() ? memory : QDir::tempPath();
  for (int i = 0; i < kills; ++i) {
    QTemporaryDir folder(place + QStringLiteral("/tavhost-XXXXXX"));
    const int reported = KillAfter(folder.path(), 1 + i % 5, i * 37 % 1000);
    SessionStore next(folder.path());
    const auto lost = next.TakeLost();
    ASSERT_EQ(lost.size(), 1) << "kill " << i;
    const int found = lost[0].bytes.split(' ')[1].toInt();
    ASSERT_EQ(lost[0].bytes, TextOf(found)) << "kill " << i;
    ASSERT_GE(found, reported) << "kill " << i;
  }
}

TEST(SessionStoreFullDisk, WhatWasKeptBeforeIsStillThere) {
  QTemporaryDir folder;
  {
    SessionStore killed(folder.path());
    ASSERT_TRUE(killed.KeepUnsaved({{QString(), "typed", 1, 1}}));
  }
  struct rlimit before;
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
  struct rlimit none = before;
  none.rlim_cur = 0;
  const auto ignored = signal(SIGXFSZ, SIG_IGN);
  {
    SessionStore next(folder.path());
    const auto lost = next.TakeLost();
    ASSERT_EQ(lost.size(), 1);
    setrlimit(RLIMIT_FSIZE, &none);
    const auto kept = next.KeepUnsaved(lost);
    setrlimit(RLIMIT_FSIZE, &before);
    signal(SIGXFSZ, ignored);
    ASSERT_FALSE(kept);
    EXPECT_EQ(kept.error().message, "File too large");
  }
  SessionStore last(folder.path());
  const auto lost = last.TakeLost();
  ASSERT_EQ(lost.size(), 1);
  EXPECT_EQ(lost[0].bytes, "typed");
}

// Whoever opened these would wait for ever, or read for ever.
TEST(SessionStoreFiles, MayBeNoFiles) {
  for (const char* const name : {"workbench.ini", "history", "unsaved-1"}) {
    for (const char* const other : {"", "/dev/zero"}) {
      const QTemporaryDir folder;
      const std::string file = folder.filePath(QLatin1String(name)).toStdString();
      ASSERT_EQ(*other ? symlink(other, file.c_str()) : mkfifo(file.c_str(), 0600), 0);
      SessionStore store(folder.path());
      store.Settings().setValue(QStringLiteral("a"), 1);
      EXPECT_TRUE(store.Problem().isEmpty());
      EXPECT_TRUE(store.ReadHistory().isEmpty());
      store.AppendHistory("print 1\n");
      EXPECT_TRUE(store.TakeLost().isEmpty());
    }
  }
}

}  // namespace

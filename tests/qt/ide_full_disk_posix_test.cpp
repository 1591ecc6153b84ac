// The workbench on a disk that takes no more, by its window: what was not saved is told, and stays.
#include <sys/resource.h>

#include <csignal>

#include "tests/qt/ide_fixture.h"

namespace {

// While it lives, no file grows beyond so many bytes.
class FullDisk {
 public:
  explicit FullDisk(rlim_t bytes) {
    getrlimit(RLIMIT_FSIZE, &before_);
    struct rlimit full = before_;
    full.rlim_cur = bytes;
    setrlimit(RLIMIT_FSIZE, &full);
  }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;
  ~FullDisk() {
    setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, ignored_);
  }

 private:
  void (*ignored_)(int) = std::signal(SIGXFSZ, SIG_IGN);
  struct rlimit before_;
};

TEST_F(IdeTest, WhatWasNotSavedSurvivesAStartOnAFullDisk) {
  const QString a = Write(QStringLiteral("a.tav"), "saved");
  Start({ui::Bytes(a)});
  Type(QStringLiteral("not yet "));
  Run();  // before a script runs all is kept
  Leave();
  QPixmap picture;
  {
    const FullDisk full(0);
    Start();
    EXPECT_TRUE(Console().contains(QStringLiteral("Nothing can be kept in")))
        << Console().toStdString();
    EXPECT_TRUE(window_->GetConsole().isVisible()) << "nobody would see it";
    picture = window_->grab();
    Leave();  // it is killed
  }
  // To be looked at, for whoever wants to.
  const QString file = qEnvironmentVariable("TAVHOST_PICTURE");
  EXPECT_TRUE(file.isEmpty() || picture.save(file));
  Start();
  EXPECT_EQ(Editor().Text(), QStringLiteral("not yet saved"));
  EXPECT_TRUE(Front().IsModified());
  EXPECT_FALSE(Console().contains(QStringLiteral("can be kept")));
  EXPECT_EQ(Read(QStringLiteral("a.tav")), "saved");
}

}  // namespace

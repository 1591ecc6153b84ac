#include <gtest/gtest.h>

#include <QSettings>
#include <QTemporaryDir>
#include <cstdio>
#include <cstdlib>

int main(int count, char** arguments) {
  testing::InitGoogleTest(&count, arguments);
  QTemporaryDir settings;  // never the user's own
  QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, settings.path());
  const int result = RUN_ALL_TESTS();
  settings.remove();
  // The plug-in and its windows go with the process.
  std::fflush(nullptr);
  std::_Exit(result);
}

#include <gtest/gtest.h>

#include <QSettings>
#include <QTemporaryDir>

int main(int count, char** arguments) {
  testing::InitGoogleTest(&count, arguments);
  const QTemporaryDir settings;  // never the user's own
  QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, settings.path());
  // Where Qt keeps how its file dialogs were left.
  QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settings.path());
  return RUN_ALL_TESTS();
}

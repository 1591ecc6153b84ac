#include <gtest/gtest.h>

#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <cstdio>
#include <cstdlib>

// Runs the tests on a screen of TAVHOST_SCREEN's size and scale, "1366x768@1" without it.
int main(int count, char** arguments) {
  testing::InitGoogleTest(&count, arguments);
  const QByteArray wanted = qEnvironmentVariableIsEmpty("TAVHOST_SCREEN")
                                ? QByteArray("1366x768@1")
                                : qgetenv("TAVHOST_SCREEN");
  qputenv("TAVHOST_SCREEN", wanted);
  int width = 0;
  int height = 0;
  int scale = 0;
  if (std::sscanf(wanted.constData(), "%dx%d@%d", &width, &height, &scale) != 3) return 2;
  const QTemporaryDir folder;  // for the screen, and never the user's own settings
  QFile screen(folder.filePath(QStringLiteral("screen.json")));
  if (!screen.open(QIODevice::WriteOnly)) return 2;
  screen.write(QStringLiteral("{\"screens\":[{\"name\":\"one\",\"x\":0,\"y\":0,\"width\":%1,"
                              "\"height\":%2,\"logicalDpi\":96,\"logicalBaseDpi\":96,\"dpr\":1}]}")
                   .arg(width)
                   .arg(height)
                   .toUtf8());
  screen.close();
  qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" + screen.fileName().toUtf8());
  qputenv("QT_SCALE_FACTOR", QByteArray::number(scale));
  QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, folder.path());
  // Where Qt keeps how its file dialogs were left.
  QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, folder.path());
  return RUN_ALL_TESTS();
}

// Renders the workbench in its states, light and dark, and at work for the README:
//   tavhost_ide_gallery FOLDER
#include <QApplication>
#include <QDir>
#include <QDockWidget>
#include <QFile>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <cstdio>

#include "tavhost/app/ide_services.h"
#include "tavhost/qt/find_bar.h"
#include "tavhost/qt/ide/command_browser.h"
#include "tavhost/qt/ide/console.h"
#include "tavhost/qt/ide/editor_tabs.h"
#include "tavhost/qt/ide/ide_window.h"
#include "tavhost/qt/ide/line_edits.h"
#include "tavhost/qt/shown_text.h"
#include "tests/qt/events.h"
#include "tests/qt/framed.h"
#include "tests/qt/started_toolkit.h"

namespace {

using ui::ide_view::IdeWindow;
using ui::ide_view::Theme;

constexpr char kScript[] =
    R"(# Counts the lines of some scripts and writes the total when it is wanted.
func count_lines(name) {
    FREAD file:(name)
    if ecode != 0 { throw "cannot read " + name }
    return len(split(trim(text), "\n"))
}

total = 0
CREATE_OUTPUT_WIN winid:"report" title:"Report"
for name in ("setup.tav", "nightly.tav", "report.tav") {
    lines = count_lines(name)
    total = total + lines
    OUT winid:"report" text:(name + ": " + lines + "\n")
    print name, lines
}

QUERYBOX ("Write the total of " + total + " lines?") title:"Lines" yes-no def-yes
if endbutton == "yes" {
    FWRITE file:"total.txt" text:("Total: " + total + "\n")
    if ecode != 0 { ERRORBOX "Could not write the total."; exit 1 }
}
)";

class Pictures {
 public:
  Pictures(QString folder, const char* look) : folder_(std::move(folder)), look_(look) {}

  QPixmap Take(QWidget& window, const char* name) const {
    if (!QTest::qWaitForWindowExposed(&window)) std::abort();
    HandleEvents();
    const QString file =
        QStringLiteral("%1/ide-%2-%3.png").arg(folder_, QLatin1String(name), look_);
    const QPixmap picture = window.grab();
    if (!picture.save(file)) std::abort();
    return picture;
  }

 private:
  QString folder_;
  QString look_;
};

QString WriteScript(const QTemporaryDir& folder, const char* name, const char* text) {
  QFile file(folder.filePath(QLatin1String(name)));
  if (!file.open(QIODevice::WriteOnly)) std::abort();
  file.write(text);
  return file.fileName();
}

void Render(const QString& folder, Theme theme, const char* look) {
  const Pictures pictures(folder, look);
  QTemporaryDir home;
  app::IdeServices services;
  ide::IdeOptions options;
  options.folder = ui::Bytes(home.path());
  IdeWindow window(services, options);
  TakeMainWindow(window);
  QDir::setCurrent(home.path());  // where the script finds its files
  WriteScript(home, "setup.tav", "print 1\nprint 2\nprint 3\nprint 4\n");
  WriteScript(home, "report.tav", "print 1\nprint 2\n");
  window.Start({ui::Bytes(WriteScript(home, "nightly.tav", "print \"nightly\"\n")),
                ui::Bytes(WriteScript(home, "lines.tav", kScript))});
  window.SetTheme(theme);
  window.resize(1100, 740);
  window.show();
  window.activateWindow();
  auto& editor = window.Tabs().Page()->Editor();
  editor.GoTo(6, 2);
  pictures.Take(window, "start");

  // The script asks a question in the end.
  QTimer watch;
  QObject::connect(&watch, &QTimer::timeout, [&] {
    QWidget* const dialog = QApplication::activeModalWidget();
    if (!dialog) return;
    watch.stop();
    pictures.Take(window, "running");
    dialog->close();
  });
  watch.start(100);
  window.Run();
  window.findChild<QDockWidget*>(QStringLiteral("variables"))->raise();
  window.resizeDocks({window.findChild<QDockWidget*>(QStringLiteral("console"))}, {230},
                     Qt::Vertical);
  const QPixmap ended = pictures.Take(window, "ended");
  if (theme == Theme::kLight && !Framed(ended, QStringLiteral("lines.tav - tavhost"))
                                     .save(folder + QStringLiteral("/workbench.png"))) {
    std::abort();
  }

  window.findChild<QDockWidget*>(QStringLiteral("commands"))->raise();
  window.Commands().ShowCommand(QStringLiteral("FWRITE"));
  editor.GoTo(9, 1);  // what is inserted below it is run
  ui::ide_view::InsertCommand(editor, QStringLiteral("FWRITE file:12"));
  window.GetConsole().Clear();
  editor.document()->setModified(true);
  window.Run();
  window.Run();
  pictures.Take(window, "error");

  editor.SetText(QString::fromUtf8(kScript));
  window.GetConsole().Clear();
  window.activateWindow();
  window.Find().Open(true);
  QTest::keyClicks(window.findChild<QLineEdit*>(QStringLiteral("find")), QStringLiteral("total"));
  window.Find().FindNext(false);
  pictures.Take(window, "find");
  window.Find().Close();

  editor.SetText(QStringLiteral("# A message\nFI"));
  editor.GoTo(2, 3);
  editor.Complete();
  if (!QTest::qWaitFor([] { return QApplication::activePopupWidget() != nullptr; })) std::abort();
  QWidget& popup = *QApplication::activePopupWidget();
  pictures.Take(popup, "completion");
  popup.close();

  window.resize(720, 480);
  pictures.Take(window, "small");
  for (auto* const page : window.Tabs().Pages()) page->Editor().document()->setModified(false);
  window.close();
  LeaveMainWindow();
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) {
    std::fprintf(stderr, "usage: tavhost_ide_gallery FOLDER\n");
    return 2;
  }
  StartedToolkit();
  const QString folder = QDir(QString::fromLocal8Bit(arguments[1])).absolutePath();
  if (!QDir().mkpath(folder)) return 1;
  Render(folder, Theme::kLight, "light");
  Render(folder, Theme::kDark, "dark");
  std::_Exit(0);
}

#include <QDir>
#include <QDockWidget>
#include <QFileInfo>
#include <QFontDatabase>
#include <QScreen>
#include <QTreeWidget>
#include <algorithm>
#include <tl/expected.hpp>

#include "tavhost/qt/ide/console.h"
#include "tavhost/qt/ide/editor_tabs.h"
#include "tavhost/qt/ide/ide_window.h"
#include "tavhost/qt/shown_text.h"

// What the workbench remembers from one start to the next.
namespace ui::ide_view {

namespace {

// Stored with the layout; a layout of another version is not restored.
constexpr int kLayoutVersion = 1;
constexpr int kFontPoints = 10;  // at least, at first
// What a file of settings may say; beyond, it was damaged.
constexpr int kMostFiles = 1000;
constexpr double kSmallestFont = 1;  // points
constexpr double kLargestFont = 200;

QFont FirstFont() {
  QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  if (font.pointSize() < kFontPoints) font.setPointSize(kFontPoints);
  return font;
}

// The font that was kept, where there is one that can be used.
QFont KeptFont(const QString& kept) {
  QFont font;
  const bool isFont = !kept.isEmpty() && font.fromString(kept);
  const bool fits = font.pointSizeF() >= kSmallestFont && font.pointSizeF() <= kLargestFont;
  return isFont && fits ? font : FirstFont();
}

}  // namespace

void IdeWindow::RestoreSession(const std::vector<std::string>& files) {
  QSettings& settings = store_.Settings();
  SetTheme(ThemeOf(settings.value(QStringLiteral("theme")).toString()));
  SetFont(KeptFont(settings.value(QStringLiteral("font")).toString()));
  restoreGeometry(settings.value(QStringLiteral("geometry")).toByteArray());
  restoreState(settings.value(QStringLiteral("layout")).toByteArray(), kLayoutVersion);
  ShowRecent();

  const QByteArray history = store_.ReadHistory();
  console_->GetHistory().Read({history.constData(), static_cast<std::size_t>(history.size())});
  // Grown by every entry; cut back to what is kept now and then.
  const std::string cut = console_->GetHistory().Text();
  if (static_cast<std::size_t>(history.size()) > 2 * cut.size() + 4096) {
    store_.WriteHistory(QByteArray::fromStdString(cut));
  }

  if (const QString problem = store_.Problem(); !problem.isEmpty()) {
    console_->Error(Bytes(problem) + '\n');
  }
  QString front = store_.IsFirst() ? RestoreFiles() : QString();
  for (const std::string& file : files) {
    const QString path = QDir::current().absoluteFilePath(Editable(file));
    if (!QFileInfo::exists(path)) {
      console_->Error("There is no file " + file + "\n");
      continue;
    }
    if (const auto opened = tabs_->Open(path); !opened) {
      console_->Error(Bytes(opened.error()) + "\n");
    }
    front = path;
  }
  if (tabs_->count() == 0) tabs_->New();
  isRestored_ = true;
  KeepUnsaved();
  if (EditorPage* const page = front.isEmpty() ? nullptr : tabs_->PageOf(front)) {
    tabs_->setCurrentWidget(page);
  }
  tabs_->Page()->Editor().setFocus();
}

// Opens what was open when the last window was closed, and what was not saved when one ended
// without being closed. Returns the file that was in front; empty: none.
QString IdeWindow::RestoreFiles() {
  QSettings& settings = store_.Settings();
  struct File {
    QString path;
    int line;
    int column;
  };
  QList<File> open;
  const int count = std::min(settings.beginReadArray(QStringLiteral("files")), kMostFiles);
  for (int i = 0; i < count; ++i) {
    settings.setArrayIndex(i);
    open.append({settings.value(QStringLiteral("path")).toString(),
                 settings.value(QStringLiteral("line"), 1).toInt(),
                 settings.value(QStringLiteral("column"), 1).toInt()});
  }
  settings.endArray();
  QString front = settings.value(QStringLiteral("front")).toString();
  for (const File& file : open) {
    if (host_.IsEndAsked()) {  // while it starts
      keepsFiles_ = false;
      break;
    }
    if (!QFileInfo(file.path).isFile()) continue;
    if (const auto page = tabs_->Open(file.path)) {
      (*page)->Editor().GoTo(file.line, file.column);
    }
  }
  const QList<SessionStore::Unsaved> lost = store_.TakeLost();
  for (const SessionStore::Unsaved& text : lost) tabs_->Restore(text);
  if (!lost.isEmpty()) {
    console_->Note(
        QStringLiteral("Changes that were not saved when the workbench ended last are "
                       "back; they are still not saved."));
  }
  return front;
}

void IdeWindow::SaveSession() {
  QSettings& settings = store_.Settings();
  settings.setValue(QStringLiteral("geometry"), saveGeometry());
  settings.setValue(QStringLiteral("layout"), saveState(kLayoutVersion));
  if (store_.IsFirst()) WriteFiles();
  settings.sync();
}

void IdeWindow::NoteFiles() {
  if (!isRestored_ || !store_.IsFirst() || tabs_->Files() == noted_) return;
  noted_ = tabs_->Files();
  WriteFiles();
  store_.Settings().sync();
}

void IdeWindow::WriteFiles() {
  if (!keepsFiles_) return;
  QSettings& settings = store_.Settings();
  settings.remove(QStringLiteral("files"));
  settings.beginWriteArray(QStringLiteral("files"));
  int index = 0;
  for (EditorPage* const page : tabs_->Pages()) {
    if (page->Path().isEmpty()) continue;
    settings.setArrayIndex(index++);
    settings.setValue(QStringLiteral("path"), page->Path());
    settings.setValue(QStringLiteral("line"), page->Editor().Line());
    settings.setValue(QStringLiteral("column"), page->Editor().Column());
  }
  settings.endArray();
  settings.setValue(QStringLiteral("front"), tabs_->Page()->Path());
}

void IdeWindow::TellNotKept(const base::Error& error) {
  console_->Error("Texts that are not saved cannot be kept: " + error.file.value_or("the file") +
                  " cannot be written: " + error.message +
                  ". They are lost when the workbench ends by force; save them.\n");
}

}  // namespace ui::ide_view

#include "tavhost/qt/ide/editor_tabs.h"

#include <QDir>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QMessageBox>
#include <QPushButton>
#include <QTabBar>
#include <QTimer>
#include <tl/expected.hpp>
#include <utility>

#include "tavhost/qt/file_dialog_view.h"
#include "tavhost/qt/shown_text.h"

namespace ui::ide_view {

namespace {

// A program that writes a file may take some steps; looked at when it has finished.
constexpr int kSettleMilliseconds = 150;

void AskForScripts(FileDialogModel& asked, const QString& folder) {
  asked.startPath = Bytes(folder);
  asked.filters = {{"TavScript", "*.tav"}, {"All files", "*"}};
}

}  // namespace

EditorTabs::EditorTabs(EditorHelp help, QWidget* parent)
    : QTabWidget(parent), help_(std::move(help)), watcher_(new QFileSystemWatcher(this)) {
  setObjectName(QStringLiteral("tabs"));
  setAccessibleName(QStringLiteral("Open scripts"));
  setDocumentMode(true);
  setTabsClosable(true);
  setMovable(true);
  setUsesScrollButtons(true);
  connect(this, &QTabWidget::currentChanged, this, [this] {
    if (EditorPage* const page = Page()) {
      page->Editor().setFocus();
      page->LookAtDisk();
    }
    if (pageChanged) pageChanged();
  });
  connect(this, &QTabWidget::tabCloseRequested, this, [this](int index) { ClosePage(index); });
  connect(watcher_, &QFileSystemWatcher::fileChanged, this,
          [this] { QTimer::singleShot(kSettleMilliseconds, this, [this] { LookAtDisk(); }); });
}

EditorPage* EditorTabs::PageAt(int index) const {
  return static_cast<EditorPage*>(widget(index));  // no other widgets are added
}
EditorPage* EditorTabs::Page() const { return PageAt(currentIndex()); }

std::vector<EditorPage*> EditorTabs::Pages() const {
  std::vector<EditorPage*> pages;
  pages.reserve(static_cast<std::size_t>(count()));
  for (int i = 0; i < count(); ++i) pages.push_back(PageAt(i));
  return pages;
}

EditorPage* EditorTabs::PageOf(const QString& name) const {
  const QString path = QFileInfo(name).absoluteFilePath();
  for (EditorPage* const page : Pages()) {
    if (page->Path().isEmpty() ? page->Title() == name : page->Path() == path) return page;
  }
  return nullptr;
}

EditorPage* EditorTabs::NewPage() { return new EditorPage(help_, ++untitled_); }

EditorPage* EditorTabs::Add(EditorPage* page) {
  page->Editor().setFont(font_);
  page->changed = [this] {
    ShowState();
    Watch();
  };
  connect(page->Editor().document(), &QTextDocument::contentsChanged, this, [this, page] {
    if (textChanged) textChanged(*page);
  });
  setCurrentIndex(addTab(page, page->Title()));
  ShowState();
  Watch();
  return page;
}

EditorPage* EditorTabs::New() { return Add(NewPage()); }

base::Result<EditorPage*, QString> EditorTabs::Open(const QString& path) {
  if (EditorPage* const open = PageOf(path); open && !open->Path().isEmpty()) {
    setCurrentWidget(open);
    return open;
  }
  auto* const page = new EditorPage(help_, 0);
  if (const base::Result<void, QString> loaded = page->Load(path); !loaded) {
    delete page;
    return tl::unexpected<QString>(loaded.error());
  }
  EditorPage* const empty = Page() && Page()->IsUntouched() ? Page() : nullptr;
  Add(page);
  if (empty) {
    removeTab(indexOf(empty));
    empty->deleteLater();
  }
  lastFolder_ = QFileInfo(page->Path()).path();
  if (fileOpened) fileOpened(page->Path());
  return page;
}

void EditorTabs::OpenWithDialog() {
  FileDialogModel asked(FileDialogModel::kOpen);
  AskForScripts(asked, lastFolder_);
  asked.SetTitle("Open Scripts");
  asked.multiple = true;
  for (const std::string& path : AskForFiles(asked, *this)) {
    if (const auto opened = Open(Editable(path)); !opened) failed(opened.error());
  }
}

bool EditorTabs::Save(EditorPage& page) {
  if (page.Path().isEmpty()) return SaveAs(page);
  if (page.Editor().isReadOnly()) return true;
  if (page.IsChangedOnDisk() && QFileInfo::exists(page.Path())) {
    QMessageBox box(
        QMessageBox::Warning, QStringLiteral("Save"),
        QStringLiteral("%1 was changed by another program since it was opened.").arg(page.Title()),
        QMessageBox::Cancel, this);
    box.setInformativeText(QStringLiteral("Saving replaces what the other program wrote."));
    auto* const replace = box.addButton(QStringLiteral("&Save Anyway"), QMessageBox::AcceptRole);
    box.setDefaultButton(QMessageBox::Cancel);
    box.exec();
    if (box.clickedButton() != replace) return false;
  }
  if (const auto saved = page.Save(page.Path()); !saved) {
    failed(saved.error());
    return false;
  }
  Watch();
  return true;
}

bool EditorTabs::SaveAs(EditorPage& page) {
  const QFileInfo proposed(page.Path().isEmpty()
                               ? QDir(lastFolder_).filePath(page.Title() + QStringLiteral(".tav"))
                               : page.Path());
  FileDialogModel asked(FileDialogModel::kSaveAs);
  AskForScripts(asked, proposed.path());
  asked.SetTitle(Bytes(QStringLiteral("Save %1 As").arg(page.Title())));
  asked.fileName = Bytes(proposed.fileName());
  asked.defaultExtension = "tav";
  const std::vector<std::string> chosen = AskForFiles(asked, *this);
  if (chosen.empty()) return false;
  if (const auto saved = page.Save(Editable(chosen.front())); !saved) {
    failed(saved.error());
    return false;
  }
  page.Editor().setReadOnly(false);
  lastFolder_ = QFileInfo(page.Path()).path();
  Watch();
  if (fileOpened) fileOpened(page.Path());
  return true;
}

bool EditorTabs::SaveAll() {
  for (EditorPage* const page : Pages()) {
    if (page->IsModified() && !Save(*page)) return false;
  }
  return true;
}

bool EditorTabs::MayLose(EditorPage& page, const QString& occasion) {
  if (!page.IsModified()) return true;
  setCurrentWidget(&page);
  QMessageBox box(QMessageBox::Question, occasion,
                  QStringLiteral("Save the changes to %1?").arg(page.Title()),
                  QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, this);
  box.setDefaultButton(QMessageBox::Save);
  const int answer = box.exec();
  if (answer == QMessageBox::Cancel) return false;
  return answer != QMessageBox::Save || Save(page);
}

bool EditorTabs::ClosePage(int index) {
  EditorPage* const page = PageAt(index);
  if (!page) return false;
  if (!MayLose(*page, QStringLiteral("Close"))) return false;
  removeTab(indexOf(page));
  page->deleteLater();
  if (count() == 0) New();
  ShowState();
  Watch();
  return true;
}

bool EditorTabs::MayClose() {
  for (EditorPage* const page : Pages()) {
    if (!MayLose(*page, QStringLiteral("Quit"))) return false;
  }
  return true;
}

void EditorTabs::Restore(const SessionStore::Unsaved& text) {
  EditorPage* page = text.path.isEmpty() ? nullptr : PageOf(text.path);
  // Two workbenches had changed one file: both texts come back.
  const QString path = page && page->IsModified() ? QString() : text.path;
  if (path.isEmpty()) page = nullptr;
  if (!page) page = Add(path.isEmpty() ? NewPage() : new EditorPage(help_, 0));
  page->Restore(path, text.bytes);
  page->Editor().GoTo(text.line, text.column);
}

QList<SessionStore::Unsaved> EditorTabs::Unsaved() const {
  QList<SessionStore::Unsaved> texts;
  for (EditorPage* const page : Pages()) {
    if (!page->IsModified()) continue;
    texts.append({page->Path(), page->Bytes(), page->Editor().Line(), page->Editor().Column()});
  }
  return texts;
}

QStringList EditorTabs::Files() const {
  QStringList files;
  for (EditorPage* const page : Pages()) {
    if (!page->Path().isEmpty()) files << page->Path();
  }
  return files;
}

void EditorTabs::LookAtDisk() {
  for (EditorPage* const page : Pages()) page->LookAtDisk();
  Watch();
}

// Files that are replaced by a rename leave the watch; they are put back.
void EditorTabs::Watch() {
  const QStringList watched = watcher_->files();
  const QStringList files = Files();
  for (const QString& path : watched) {
    if (!files.contains(path)) watcher_->removePath(path);
  }
  for (const QString& path : files) {
    if (!watched.contains(path) && QFileInfo::exists(path)) watcher_->addPath(path);
  }
}

void EditorTabs::ShowState() {
  for (int i = 0; i < count(); ++i) {
    const EditorPage& page = *PageAt(i);
    QString title = page.Title();
    title.replace(QLatin1Char('&'), QLatin1String("&&"));
    setTabText(i, page.IsModified() ? title + QStringLiteral(" *") : title);
    setTabToolTip(i, page.Path().isEmpty() ? QStringLiteral("not saved yet")
                                           : QDir::toNativeSeparators(page.Path()));
  }
  if (stateChanged) stateChanged();
}

void EditorTabs::SetEditorFont(const QFont& font) {
  font_ = font;
  for (EditorPage* const page : Pages()) page->Editor().setFont(font);
}

}  // namespace ui::ide_view

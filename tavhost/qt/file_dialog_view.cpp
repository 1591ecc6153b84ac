#include "tavhost/qt/file_dialog_view.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QFileSystemModel>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMessageBox>
#include <QRegularExpression>
#include <QTreeView>
#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include "tavhost/qt/dropped_files.h"
#include "tavhost/qt/places.h"
#include "tavhost/qt/remembered_folders.h"
#include "tavhost/qt/shown_text.h"

namespace ui {

namespace {

constexpr int kPlaceColumns = 28;  // of the names of places; longer ones are cut
constexpr int kPlaceMargin = 4;

// Scripts write paths with either separator.
QString WithSlashes(const std::string& path) {
  QString text = Editable(path);
  text.replace(QLatin1Char('\\'), QLatin1Char('/'));
  return text;
}

std::string Native(const QString& path) { return Bytes(QDir::toNativeSeparators(path)); }

QStringList PatternsOf(const FileDialogModel::Filter& filter) {
  static const QRegularExpression separators(QStringLiteral("[;,\\s]+"));
  const QStringList patterns = Shown(filter.type).split(separators, Qt::SkipEmptyParts);
  // "*.*" means every name, also one without a dot.
  const bool isEvery =
      patterns.isEmpty() || (patterns.size() == 1 && patterns[0] == QLatin1String("*.*"));
  return isEvery ? QStringList(QStringLiteral("*")) : patterns;
}

// "Texts", "*.txt;*.md" is "Texts (*.txt *.md)" here.
QString FilterLine(const FileDialogModel::Filter& filter) {
  const QString patterns = PatternsOf(filter).join(QLatin1Char(' '));
  // Blanks as the dialog writes them, which is asked for the filter by its text.
  return QStringLiteral("%1 (%2)").arg(Shown(filter.text), patterns).simplified();
}

// Screen readers tell what a box is for by its label.
void JoinLabels(const QFileDialog& dialog) {
  constexpr std::pair<const char*, const char*> kJoined[] = {{"lookInLabel", "lookInCombo"},
                                                             {"fileTypeLabel", "fileTypeCombo"}};
  for (const auto& [label, box] : kJoined) {
    auto* const named = dialog.findChild<QLabel*>(QLatin1String(label));
    if (named) named->setBuddy(dialog.findChild<QComboBox*>(QLatin1String(box)));
  }
}

QString KindOf(FolderView::Purpose purpose) {
  switch (purpose) {
    case FolderView::Purpose::kOpen:
      return QStringLiteral("open");
    case FolderView::Purpose::kSave:
      return QStringLiteral("save");
    case FolderView::Purpose::kDirectory:
      break;
  }
  return QStringLiteral("directory");
}

// Of several files, those that are marked are chosen as they are, as long as their names are what
// is written: Qt reads them back from there, where quotes part them, and a name can hold quotes.
class FileDialog final : public QFileDialog {
 public:
  using QFileDialog::QFileDialog;

  QStringList Chosen() const { return marked_.isEmpty() ? selectedFiles() : marked_; }

 protected:
  void accept() override {
    marked_ = fileMode() == ExistingFiles ? MarkedWithQuotes() : QStringList();
    if (marked_.isEmpty()) return QFileDialog::accept();
    QDialog::accept();
  }

 private:
  // The paths of what is marked; empty unless names have quotes and nothing else is written.
  QStringList MarkedWithQuotes() const {
    const auto* const files = findChild<QListView*>(QStringLiteral("listView"));
    const auto* const name = findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
    if (!files || !name) return {};
    QStringList paths;
    QStringList names;
    for (const QModelIndex& row : files->selectionModel()->selectedRows()) {
      const QFileInfo file(row.data(QFileSystemModel::FilePathRole).toString());
      if (row.parent() != files->rootIndex() || file.isDir()) continue;
      paths << file.absoluteFilePath();
      names << file.fileName();
    }
    const QChar quote = QLatin1Char('"');
    const bool hasQuotes = std::any_of(names.begin(), names.end(),
                                       [quote](const QString& one) { return one.contains(quote); });
    const QString written =
        names.size() == 1 ? names.front() : quote + names.join(QStringLiteral("\" \"")) + quote;
    return hasQuotes && name->text() == written ? paths : QStringList();
  }

  QStringList marked_;
};

// A letter for each label. Those of the button that accepts the dialog gives itself, and changes
// with what is selected: O, S and, for a directory, C.
void GiveLetters(QFileDialog& dialog, FolderView::Purpose purpose) {
  const bool isDirectory = purpose == FolderView::Purpose::kDirectory;
  dialog.setLabelText(QFileDialog::LookIn, QStringLiteral("Look &in:"));
  dialog.setLabelText(QFileDialog::FileName,
                      isDirectory ? QStringLiteral("&Directory:") : QStringLiteral("File &name:"));
  dialog.setLabelText(QFileDialog::FileType, QStringLiteral("Files of &type:"));
  dialog.setLabelText(QFileDialog::Reject,
                      isDirectory ? QStringLiteral("C&ancel") : QStringLiteral("&Cancel"));
}

std::unique_ptr<QFileDialog> MakeDialog(QWidget* parent, const QString& start) {
  auto dialog = std::make_unique<FileDialog>(parent);
  dialog->setOption(QFileDialog::DontUseNativeDialog);
  JoinLabels(*dialog);
  dialog->setDirectory(start);
  return dialog;
}

QString StartOf(const std::string& start, FolderView::Purpose purpose, bool isForUser) {
  if (!start.empty()) return WithSlashes(start);
  const QString last = isForUser ? remembered_folders::Find(KindOf(purpose)) : QString();
  // Not where Qt's dialogs of this run were last, whatever they were for.
  return last.isEmpty() ? QDir::currentPath() : last;
}

}  // namespace

FolderView::FolderView(ModalModel& model, QWidget* parent, const std::string& start,
                       Purpose purpose, bool isForUser)
    : ModalView(model, MakeDialog(parent, StartOf(start, purpose, isForUser))),
      purpose_(purpose),
      isForUser_(isForUser),
      isFolderGiven_(!start.empty()) {
  QFileDialog& dialog = Widget();
  GiveLetters(dialog, purpose);
  SetUpPlaces();
  SetUpColumns();
  new DroppedFiles(dialog,
                   [this](const QStringList& paths, QWidget&, const QPoint&) { GoTo(paths); });
  QObject::connect(&dialog, &QDialog::accepted, this,
                   [this] { Accept(static_cast<FileDialog&>(Widget()).Chosen()); });
}

void FolderView::Accept(const QStringList& chosen) {
  chosen_ = chosen;
  if (isForUser_ && !chosen.isEmpty()) {
    const QFileInfo first(chosen.front());
    const bool isFolder = purpose_ == Purpose::kDirectory;
    remembered_folders::Keep(KindOf(purpose_),
                             isFolder ? first.absoluteFilePath() : first.absolutePath());
  }
  End("ok");
}

FileQuestion FolderView::Question() {
  FileQuestion question;
  question.purpose = purpose_;
  question.title = Widget().windowTitle();
  question.folder = Widget().directory().absolutePath();
  question.isFolderGiven = isFolderGiven_;
  return question;
}

// Unseen it keeps what is typed and clicked from the windows below, as the desktop's dialog does
// not.
void FolderView::Appear() {
  if (isForUser_) native_ = MakeNativeFileDialog(Widget().parentWidget());
  if (!native_) return ModalView::Appear();
  native_->answered = [this](const QStringList& paths) { TakeAnswer(paths); };
  native_->failed = [this] {
    Widget().hide();
    Widget().setAttribute(Qt::WA_DontShowOnScreen, false);
    ModalView::Appear();
  };
  Widget().setAttribute(Qt::WA_DontShowOnScreen);
  Widget().show();
  native_->Ask(Question());
}

// What the desktop's dialog let pass is asked for again, beginning there.
void FolderView::TakeAnswer(QStringList paths) {
  if (paths.isEmpty()) return Widget().reject();
  if (IsRight(paths)) return Accept(paths);
  if (Model().HasEnded()) return;  // stopped meanwhile
  FileQuestion question = Question();
  const QFileInfo first(paths.front());
  if (first.isAbsolute()) {
    question.folder = first.absolutePath();
    if (purpose_ == Purpose::kSave) question.name = first.fileName();
  }
  native_->Ask(question);
}

// Tells the user what is not. Completes a name to be saved by its suffix, whose file the desktop's
// dialog did not ask about.
bool FolderView::IsRight(QStringList& paths) {
  const QString title = Widget().windowTitle();
  for (QString& path : paths) {
    std::error_code error;
    const auto isThere = [&error](const QString& name) {
      return std::filesystem::exists(Bytes(name), error);
    };
    const bool isHere = QDir::isAbsolutePath(path);
    if (!isHere || (purpose_ != Purpose::kSave && !isThere(path))) {
      QMessageBox::warning(Widget().parentWidget(), title,
                           isHere ? QStringLiteral("%1\nFile not found.").arg(path)
                                  : QStringLiteral("%1\nis not on this machine.").arg(path));
      return false;
    }
    const QString suffix = Widget().defaultSuffix();
    const bool isWhole = suffix.isEmpty() || QFileInfo(path).fileName().contains(QLatin1Char('.'));
    if (purpose_ != Purpose::kSave || isWhole) continue;
    path += QLatin1Char('.') + suffix;
    if (isThere(path) &&
        QMessageBox::warning(
            Widget().parentWidget(), title,
            QStringLiteral("%1 already exists.\nDo you want to replace it?").arg(path),
            QMessageBox::Yes | QMessageBox::No, QMessageBox::No) != QMessageBox::Yes) {
      return false;
    }
  }
  return true;
}

// Wide enough for their names, whatever the width was that the user's last dialog had.
void FolderView::SetUpPlaces() {
  Widget().setSidebarUrls(PlacesOfDesktop());
  auto* const places = Widget().findChild<QListView*>(QStringLiteral("sidebar"));
  if (!places) return;
  const auto& items = static_cast<const QAbstractItemView&>(*places);
  const int most = places->fontMetrics().averageCharWidth() * kPlaceColumns;
  places->setMinimumWidth(std::min(items.sizeHintForColumn(0), most) + 2 * places->frameWidth() +
                          kPlaceMargin);
}

// All of what is said of a file can be seen; the names have the rest.
void FolderView::SetUpColumns() {
  auto* const files = Widget().findChild<QTreeView*>(QStringLiteral("treeView"));
  auto* const names = Widget().findChild<QFileSystemModel*>();
  if (!files || !names) return;
  // Elsewhere in the order that the user's last dialog had.
  if (!isForUser_) files->sortByColumn(0, Qt::AscendingOrder);
  files->header()->setStretchLastSection(false);
  files->header()->setSectionResizeMode(0, QHeaderView::Stretch);
  QObject::connect(names, &QFileSystemModel::directoryLoaded, this, [files] {
    for (int column = 1; column < files->header()->count(); ++column) {
      files->resizeColumnToContents(column);
    }
  });
}

// To the folder of what was dropped, with that as what is to be chosen.
void FolderView::GoTo(const QStringList& paths) {
  const QFileInfo first(paths.front());
  if (first.isDir()) return Widget().setDirectory(first.absoluteFilePath());
  const QString folder = first.absolutePath();
  Widget().setDirectory(folder);
  auto* const name = Widget().findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
  if (!name || purpose_ == Purpose::kDirectory) return;
  QStringList chosen;
  for (const QString& path : paths) {
    const QFileInfo file(path);
    if (file.isDir()) continue;
    chosen << (file.absolutePath() == folder ? file.fileName() : file.absoluteFilePath());
  }
  const bool isOne = chosen.size() == 1 || Widget().fileMode() != QFileDialog::ExistingFiles;
  name->setText(isOne ? chosen.front()
                      : QLatin1Char('"') + chosen.join(QStringLiteral("\" \"")) + QLatin1Char('"'));
  name->setFocus();
}

FileDialogView::FileDialogView(FileDialogModel& model, QWidget* parent, bool isForUser)
    : FolderView(model, parent, model.startPath, model.IsSave() ? Purpose::kSave : Purpose::kOpen,
                 isForUser),
      files_(model) {
  QFileDialog& dialog = Widget();
  dialog.setAcceptMode(model.IsSave() ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
  GiveLetters(dialog, model.IsSave() ? Purpose::kSave : Purpose::kOpen);  // the buttons are new
  dialog.setFileMode(model.IsSave()           ? QFileDialog::AnyFile
                     : model.AllowsMultiple() ? QFileDialog::ExistingFiles
                                              : QFileDialog::ExistingFile);
  dialog.setOption(QFileDialog::HideNameFilterDetails);
  QStringList filters;
  for (const FileDialogModel::Filter& filter : model.filters) filters << FilterLine(filter);
  if (!filters.isEmpty()) {
    dialog.setOption(QFileDialog::HideNameFilterDetails, false);
    dialog.setNameFilters(filters);
    dialog.selectNameFilter(filters[static_cast<qsizetype>(model.currentFilter)]);
    FilterNames();
    QObject::connect(&dialog, &QFileDialog::filterSelected, this, [this] { FilterNames(); });
  }
  // Added before the question whether an existing file is to be overwritten.
  dialog.setDefaultSuffix(Shown(model.defaultExtension));
  if (!model.fileName.empty()) dialog.selectFile(WithSlashes(model.fileName));
}

// The dialog reads patterns out of its own filters' texts, and only those of ASCII: the patterns
// themselves are for what lists the files.
void FileDialogView::FilterNames() {
  auto* const names = Widget().findChild<QFileSystemModel*>();
  const auto* const types = Widget().findChild<QComboBox*>(QStringLiteral("fileTypeCombo"));
  if (!names || !types) return;
  const int chosen = types->currentIndex();
  if (chosen < 0 || static_cast<std::size_t>(chosen) >= files_.filters.size()) return;
  const QStringList patterns = PatternsOf(files_.filters[static_cast<std::size_t>(chosen)]);
  names->setNameFilters(patterns);
  if (files_.extensionFollowsFilter) {
    Widget().setDefaultSuffix(patterns.front().section(QLatin1Char('.'), -1));
  }
}

FileQuestion FileDialogView::Question() {
  FileQuestion question = FolderView::Question();
  question.multiple = files_.AllowsMultiple();
  question.name = QFileInfo(WithSlashes(files_.fileName)).fileName();
  question.suffix = Widget().defaultSuffix();
  // As it will be called, so that the desktop's dialog asks about that file.
  if (!question.name.isEmpty() && !question.suffix.isEmpty() &&
      !question.name.contains(QLatin1Char('.'))) {
    question.name += QLatin1Char('.') + question.suffix;
  }
  for (const FileDialogModel::Filter& filter : files_.filters) {
    question.filters << FileQuestion::Filter{Shown(filter.text), PatternsOf(filter)};
  }
  question.filter = static_cast<qsizetype>(files_.currentFilter);
  return question;
}

void FileDialogView::ShowModel() {
  if (!files_.chosen.empty()) Widget().selectFile(WithSlashes(files_.chosen.front()));
}

void FileDialogView::ReadModel() {
  files_.chosen.clear();
  for (const QString& path : Chosen()) files_.chosen.push_back(Native(path));
}

std::vector<std::string> AskForFiles(FileDialogModel& model, QWidget& above) {
  model.Begin();
  FileDialogView view(model, &above, true);
  view.AllowOtherStart();
  view.Open(0);
  while (!model.HasEnded()) QApplication::processEvents(QEventLoop::WaitForMoreEvents);
  view.Dialog().hide();
  return model.chosen;
}

DirectoryDialogView::DirectoryDialogView(DirectoryDialogModel& model, QWidget* parent,
                                         bool isForUser)
    : FolderView(model, parent, model.path, Purpose::kDirectory, isForUser), directory_(model) {
  QFileDialog& dialog = Widget();
  dialog.setFileMode(QFileDialog::Directory);
  dialog.setOption(QFileDialog::ShowDirsOnly);
  dialog.setLabelText(QFileDialog::Accept, QStringLiteral("&Choose"));
}

void DirectoryDialogView::ShowModel() {
  if (!directory_.path.empty()) Widget().selectFile(WithSlashes(directory_.path));
}

void DirectoryDialogView::ReadModel() {
  if (!Chosen().isEmpty()) directory_.path = Native(Chosen().front());
}

}  // namespace ui

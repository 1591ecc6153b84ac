#include "tavhost/qt/file_dialog_view.h"

#include <QComboBox>
#include <QDir>
#include <QFileSystemModel>
#include <QLabel>
#include <QRegularExpression>
#include <utility>

#include "tavhost/qt/shown_text.h"

namespace ui {

namespace {

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

std::unique_ptr<QFileDialog> MakeDialog(QWidget* parent, const QString& start) {
  auto dialog = std::make_unique<QFileDialog>(parent);
  dialog->setOption(QFileDialog::DontUseNativeDialog);
  JoinLabels(*dialog);
  if (!start.isEmpty()) dialog->setDirectory(start);
  return dialog;
}

}  // namespace

FileDialogView::FileDialogView(FileDialogModel& model, QWidget* parent)
    : ModalView(model, MakeDialog(parent, WithSlashes(model.startPath))), files_(model) {
  QFileDialog& dialog = Widget();
  dialog.setAcceptMode(model.IsSave() ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
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
  QObject::connect(&dialog, &QDialog::accepted, this, [this] {
    accepted_ = true;
    End("ok");
  });
}

// The dialog reads patterns out of its own filters' texts, and only those of ASCII: the patterns
// themselves are for what lists the files.
void FileDialogView::FilterNames() {
  auto* const names = Widget().findChild<QFileSystemModel*>();
  const auto* const types = Widget().findChild<QComboBox*>(QStringLiteral("fileTypeCombo"));
  if (!names || !types) return;
  const int chosen = types->currentIndex();
  if (chosen < 0 || static_cast<std::size_t>(chosen) >= files_.filters.size()) return;
  names->setNameFilters(PatternsOf(files_.filters[static_cast<std::size_t>(chosen)]));
}

void FileDialogView::ShowModel() {
  if (!files_.chosen.empty()) Widget().selectFile(WithSlashes(files_.chosen.front()));
}

void FileDialogView::ReadModel() {
  files_.chosen.clear();
  if (!accepted_) return;
  for (const QString& path : Widget().selectedFiles()) files_.chosen.push_back(Native(path));
}

DirectoryDialogView::DirectoryDialogView(DirectoryDialogModel& model, QWidget* parent)
    : ModalView(model, MakeDialog(parent, WithSlashes(model.path))), directory_(model) {
  QFileDialog& dialog = Widget();
  dialog.setFileMode(QFileDialog::Directory);
  dialog.setOption(QFileDialog::ShowDirsOnly);
  dialog.setLabelText(QFileDialog::Accept, QStringLiteral("&Choose"));
  QObject::connect(&dialog, &QDialog::accepted, this, [this] {
    accepted_ = true;
    End("ok");
  });
}

void DirectoryDialogView::ShowModel() {
  if (!directory_.path.empty()) Widget().selectFile(WithSlashes(directory_.path));
}

void DirectoryDialogView::ReadModel() {
  if (!accepted_ || Widget().selectedFiles().isEmpty()) return;
  directory_.path = Native(Widget().selectedFiles().front());
}

}  // namespace ui

#include <QDir>
#include <QFileDialog>
#include <QGuiApplication>
#include <algorithm>

#include "tavhost/qt/native_file_dialog.h"

namespace ui {

namespace {

// Qt reads patterns out of the filters' texts, and only those of ASCII.
bool IsReadable(const FileQuestion::Filter& filter) {
  const QString patterns = filter.patterns.join(QLatin1Char(' '));
  return std::all_of(patterns.begin(), patterns.end(),
                     [](QChar letter) { return letter.unicode() < 0x80; });
}

class SystemDialog final : public NativeFileDialog {
 public:
  explicit SystemDialog(QWidget* above) : above_(above) {}

  void Ask(const FileQuestion& question) override {
    if (!std::all_of(question.filters.begin(), question.filters.end(), IsReadable)) {
      return failed();
    }
    using Purpose = FileQuestion::Purpose;
    const QString before = QDir::currentPath();
    if (dialog_) dialog_.release()->deleteLater();  // its own signal may have led here
    dialog_ = std::make_unique<QFileDialog>(above_, question.title, question.folder);
    dialog_->setAcceptMode(question.purpose == Purpose::kSave ? QFileDialog::AcceptSave
                                                              : QFileDialog::AcceptOpen);
    dialog_->setFileMode(question.purpose == Purpose::kSave        ? QFileDialog::AnyFile
                         : question.purpose == Purpose::kDirectory ? QFileDialog::Directory
                         : question.multiple                       ? QFileDialog::ExistingFiles
                                                                   : QFileDialog::ExistingFile);
    dialog_->setOption(QFileDialog::ShowDirsOnly, question.purpose == Purpose::kDirectory);
    QStringList filters;
    for (const FileQuestion::Filter& filter : question.filters) {
      filters << QStringLiteral("%1 (%2)").arg(filter.text, filter.patterns.join(QLatin1Char(' ')));
    }
    if (!filters.isEmpty()) {
      dialog_->setNameFilters(filters);
      dialog_->selectNameFilter(filters[question.filter]);
    }
    dialog_->setDefaultSuffix(question.suffix);
    if (!question.name.isEmpty()) dialog_->selectFile(question.name);
    // The system's dialog makes the folder that it shows the current one.
    QObject::connect(dialog_.get(), &QDialog::finished, this, [this, before](int result) {
      QDir::setCurrent(before);
      answered(result == QDialog::Accepted ? dialog_->selectedFiles() : QStringList());
    });
    dialog_->open();
  }

 private:
  QWidget* const above_;
  std::unique_ptr<QFileDialog> dialog_;
};

}  // namespace

std::unique_ptr<NativeFileDialog> MakeNativeFileDialog(QWidget* above) {
  const bool isSystems = QGuiApplication::platformName() == QLatin1String("windows");
  if (!isSystems || !WantsNativeFileDialogs()) return nullptr;
  return std::make_unique<SystemDialog>(above);
}

}  // namespace ui

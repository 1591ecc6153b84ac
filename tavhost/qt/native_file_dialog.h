#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>

class QWidget;

namespace ui {

// What a file dialog asks its user.
struct FileQuestion {
  enum class Purpose { kOpen, kSave, kDirectory };
  struct Filter {
    QString text;
    QStringList patterns;  // fit names in upper and lower case alike
  };

  Purpose purpose = Purpose::kOpen;
  bool multiple = false;
  QString title;
  QString folder;              // where it begins, a whole path
  bool isFolderGiven = false;  // it has to begin there; else the dialog may know better
  QString name;                // offered at the start
  QString suffix;              // of names that are saved without one
  QList<Filter> filters;
  qsizetype filter = 0;  // the one in force at the start
};

// The file dialog of the desktop, in a window that is not this program's. It goes with this object.
class NativeFileDialog : public QObject {
 public:
  // Each Ask is followed by one call of one of these; both may ask again.
  std::function<void(const QStringList& paths)> answered;  // as in Editable; none: cancelled
  std::function<void()> failed;                            // nobody can be asked this

  virtual void Ask(const FileQuestion& question) = 0;
};

// Above that window. Null where the user wants none or the desktop has none. One that is there may
// still fail at a question.
std::unique_ptr<NativeFileDialog> MakeNativeFileDialog(QWidget* above);

// Whether the user wants the desktop's; told by the environment.
bool WantsNativeFileDialogs();

}  // namespace ui

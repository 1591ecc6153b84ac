#pragma once

#include <QObject>
#include <QPoint>
#include <QStringList>
#include <functional>

class QWidget;

namespace ui {

// Takes files of this machine that are dragged from elsewhere onto a window's widgets; whatever
// else is dragged there is the widgets' own.
class DroppedFiles final : public QObject {
 public:
  // Gets the files' paths, with the separators of the platform, and where they were dropped.
  using Take = std::function<void(const QStringList& paths, QWidget& onto, const QPoint& place)>;

  // Of all that is in `window`, itself included; it is the parent.
  DroppedFiles(QWidget& window, Take take);

 private:
  bool eventFilter(QObject* object, QEvent* event) override;

  Take take_;
};

}  // namespace ui

#pragma once

#include <QDialog>
#include <QDialogButtonBox>
#include <QElapsedTimer>
#include <QFont>
#include <QVBoxLayout>
#include <memory>
#include <string>

#include "tavhost/ui/models/modal_model.h"

namespace ui {

// Shows a modal model in a dialog. The model learns what the user did when the dialog ends. The
// model outlives its view; the view owns the dialog.
class ModalView : public QObject {
 public:
  ~ModalView() override;

  QDialog& Dialog() { return *dialog_; }
  ModalModel& Model() { return model_; }

  // Puts the dialog on the screen. Keys typed before `guardMilliseconds` are over are not taken:
  // they were meant for what had the focus before.
  void Open(int guardMilliseconds);
  // Puts what the model holds into the widgets.
  virtual void ShowModel() = 0;

  // What the dialog was opened with, and what its user made of it. It grows by itself when more
  // comes to stand in it: that is no size that anybody wanted.
  QSize WantedSize() const { return wantedSize_; }

 protected:
  ModalView(ModalModel& model, std::unique_ptr<QDialog> dialog);

  // Puts what the widgets hold into the model.
  virtual void ReadModel() = 0;
  // Reads the model and ends it by that button.
  void End(const std::string& button);

  // What Open does last: the dialog comes up.
  virtual void Appear();

  // The most of a label, in mean characters, that the window that the script wants has room for
  // beside so many others.
  int LabelColumns(int beside) const;
  // The row of the model's buttons; the default one is pressed by Enter.
  QDialogButtonBox* MakeButtons();

  bool eventFilter(QObject* object, QEvent* event) override;

 private:
  void PlaceDialog();
  void NoteSize(const QSize& before);

  ModalModel& model_;
  std::unique_ptr<QDialog> dialog_;
  QElapsedTimer sinceOpen_;
  int guardMilliseconds_ = 0;
  QSize wantedSize_;
};

// The font that a model asks for, based on another; a height that no font has changes no size.
QFont ChosenFont(const QFont& base, const WindowModel& model);

}  // namespace ui

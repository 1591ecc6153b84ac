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

 protected:
  ModalView(ModalModel& model, std::unique_ptr<QDialog> dialog);

  // Puts what the widgets hold into the model.
  virtual void ReadModel() = 0;
  // Reads the model and ends it by that button.
  void End(const std::string& button);

  // What Open does last: the dialog comes up.
  virtual void Appear();

  // The row of the model's buttons; the default one is pressed by Enter.
  QDialogButtonBox* MakeButtons();

  bool eventFilter(QObject* object, QEvent* event) override;

 private:
  void PlaceDialog();

  ModalModel& model_;
  std::unique_ptr<QDialog> dialog_;
  QElapsedTimer sinceOpen_;
  int guardMilliseconds_ = 0;
};

// The font that a model asks for, based on another; a height that no font has changes no size.
QFont ChosenFont(const QFont& base, const WindowModel& model);

}  // namespace ui

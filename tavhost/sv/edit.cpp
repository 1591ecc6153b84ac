#include "host/sv/edit.h"

#include <utility>

#include "host/sv/button.h"
#include "host/sv/multi_line_edit.h"
#include "tavhost/base/text_history.h"
#include "tavhost/base/trace.h"
#include "tavhost/ui/models/text_model.h"
#include "tavhost/ui/models/window_model.h"

namespace SV {

Edit::Edit(Window* parent, std::unique_ptr<ui::WindowModel> model)
    : Window(parent, std::move(model)) {}

void Edit::ChangeSelection(const Selection& selection) {
  trace::Call call(this, "ChangeSelection", selection.Min(), selection.Max());
  call.Write();
  selection_ = selection;
}

void Edit::ShowSelection() {}

namespace {

ui::TextModel& TextOf(Window& edit) { return static_cast<ui::TextModel&>(edit.Model()); }

}  // namespace

MultiLineEdit::MultiLineEdit(Window* parent, WinBits style)
    : Edit(parent, std::make_unique<ui::TextModel>()), history_(std::make_unique<TextHistory>()) {
  trace::Call call("SV::MultiLineEdit::MultiLineEdit", trace::Window(parent), style);
  call.Created("SV::MultiLineEdit", this);
}
MultiLineEdit::~MultiLineEdit() = default;

void MultiLineEdit::SetText(const String& text) {
  trace::Call call(this, "SetText", text);
  call.Write();
  const TextHistory::Change change = history_->Set(text);
  if (change.continues) {
    TextOf(*this).Continue(history_->View(), change.dropped, change.added);
  } else {
    TextOf(*this).Replace(history_->View());
  }
}

String MultiLineEdit::GetText() const {
  trace::Call call(this, "GetText");
  String text = history_->Get();
  // Handing the text out may have moved its bytes: the model, which only points at them, follows.
  auto& model = TextOf(const_cast<MultiLineEdit&>(*this));
  if (model.Text().data() != history_->View().data()) model.Continue(history_->View(), 0, {});
  return call.Result(std::move(text));
}

void MultiLineEdit::ChangeSelection(const Selection& selection) {
  Edit::ChangeSelection(selection);
  TextOf(*this).Select(selection.Min(), selection.Max());
}

void MultiLineEdit::ShowSelection() { TextOf(*this).ShowSelection(); }

Button::Button(Window* parent) : Window(parent, std::make_unique<ui::WindowModel>()) {
  trace::Call call("SV::Button::Button", trace::Window(parent));
  call.Created("SV::Button", this);
}
Button::~Button() = default;

}  // namespace SV

#include "host/sv/window.h"

#include <utility>

#include "tavhost/base/string_of.h"
#include "tavhost/base/trace.h"
#include "tavhost/sv/window_handles.h"
#include "tavhost/ui/models/window_model.h"
#include "tavhost/ui/toolkit.h"

namespace SV {

Window::Window(Window* parent, std::unique_ptr<ui::WindowModel> model)
    : model_(std::move(model)), parent_(parent) {
  if (parent_) parent_->Adopt(this);
}

Window::~Window() {
  trace::Call call(this, "~Window");
  call.Write();
  trace::Forget(this);
  window_handles::Forget(*this);
  if (model_->visible && ui::HasToolkit()) ui::CurrentToolkit().Close(*model_);
  Leave();
  // A parent does not own its children: those that outlive it only lose it.
  for (Window* child = firstChild_; child;) {
    Window* const next = child->nextSibling_;
    child->parent_ = nullptr;
    child->nextSibling_ = nullptr;
    child->model_->parent = nullptr;
    child = next;
  }
}

void Window::Adopt(Window* child) {
  child->nextSibling_ = firstChild_;
  firstChild_ = child;
  child->model_->parent = model_.get();
}

void Window::Leave() {
  if (!parent_) return;
  for (Window** place = &parent_->firstChild_; *place; place = &(*place)->nextSibling_) {
    if (*place != this) continue;
    *place = nextSibling_;
    break;
  }
  parent_ = nullptr;
}

void Window::SetText(const String& text) {
  trace::Call call(this, "SetText", text);
  call.Write();
  model_->SetTitle(std::string(text.View()));
  if (model_->visible) ui::CurrentToolkit().Update(*model_);
}

String Window::GetText() const {
  trace::Call call(this, "GetText");
  const std::string& title = model_->Title();
  return call.Result(base::StringOf(title));
}

void Window::Show(bool visible) {
  trace::Call call(this, "Show", visible);
  call.Write();
  if (visible == model_->visible) return;
  model_->visible = visible;
  if (visible) {
    ui::CurrentToolkit().Show(*model_);
  } else {
    ui::CurrentToolkit().Close(*model_);
  }
}

void Window::Hide() {
  trace::Call call(this, "Hide");
  call.Write();
  Show(false);
}

void Window::Maximize() {
  trace::Call call(this, "Maximize");
  call.Write();
  model_->maximized = true;
  if (model_->visible) ui::CurrentToolkit().Update(*model_);
}

void Window::ChangeOutputSizePixel(const Size& size) {
  trace::Call call(this, "ChangeOutputSizePixel", size);
  call.Write();
  model_->size = size;
  if (model_->visible) ui::CurrentToolkit().Update(*model_);
}

void Window::SetPosPixel(const Point& position) {
  trace::Call call(this, "SetPosPixel", position);
  call.Write();
  model_->position = position;
  if (model_->visible) ui::CurrentToolkit().Update(*model_);
}

void Window::SetSizePixel(const Size& size) {
  trace::Call call(this, "SetSizePixel", size);
  call.Write();
  model_->size = size;
  if (model_->visible) ui::CurrentToolkit().Update(*model_);
}

Font Window::ChangeFont(const Font& font) {
  model_->font = ui::FontChoice{std::string(font.GetName().View()), font.GetSize().Height()};
  return OutputDevice::ChangeFont(font);
}

bool Window::IsVisible() const { return model_->visible; }

}  // namespace SV

#pragma once

#include <memory>

#include "host/base/string.h"
#include "host/export.h"
#include "host/sv/output_device.h"

namespace ui {
class WindowModel;
}

namespace SV {

// A window. What it shows is its model, which it owns; the user interface in use renders it.
// A window's children do not outlive it as children: they lose their parent.
class TAV_HOST_API Window : public OutputDevice {
 public:
  ~Window() override;

  virtual void SetText(const String& text);  // the title, or the text of a control
  virtual String GetText() const;
  void Show(bool visible = true);
  void Hide();
  void Maximize();
  void ChangeOutputSizePixel(const Size& size);  // of the area inside the frame
  virtual void SetPosPixel(const Point& position);
  virtual void SetSizePixel(const Size& size);
  Font ChangeFont(const Font& font) override;

  bool IsVisible() const;
  Window* GetParent() const { return parent_; }
  ui::WindowModel& Model() { return *model_; }
  const ui::WindowModel& Model() const { return *model_; }

 protected:
  Window(Window* parent, std::unique_ptr<ui::WindowModel> model);

 private:
  void Adopt(Window* child);
  void Leave();

  std::unique_ptr<ui::WindowModel> model_;
  Window* parent_;
  Window* firstChild_ = nullptr;
  Window* nextSibling_ = nullptr;
};

}  // namespace SV

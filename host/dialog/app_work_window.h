#pragma once

#include <memory>

#include "host/sv/window.h"

class TavWorkbench;

// The work window of the application: where tools are docked, and above which dialogs open.
class TAV_HOST_API TavAppWorkWindow : public SV::Window {
 public:
  explicit TavAppWorkWindow(SV::Window* parent);
  ~TavAppWorkWindow() override;

  static TavAppWorkWindow* GetGlobal();  // null when there is none
  virtual TavWorkbench* GetWorkbench();

 private:
  std::unique_ptr<TavWorkbench> workbench_;
};

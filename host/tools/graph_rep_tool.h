#pragma once

#include <memory>

#include "host/dialog/forward.h"
#include "host/sv/window.h"

namespace ui {
class DrawingModel;
}

// A tool of the workbench that draws graphreps.
class TAV_HOST_API TavGraphRepTool : public SV::Window {
 public:
  TavGraphRepTool(TavWorkbench* workbench, SV::Window* parent);
  ~TavGraphRepTool() override;

  // KEL text: drawing elements. What cannot be drawn is said in the tool.
  void SetGraphReps(const SV::String& text);
  // How often files that the graphreps name are looked at, in milliseconds; 0: never.
  void SetInterval(long milliseconds);

 private:
  struct Source;

  ui::DrawingModel& Drawing();
  void Read();

  std::unique_ptr<Source> source_;
};

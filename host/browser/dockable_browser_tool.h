#pragma once

#include "host/browser/result_tool.h"

// A tool that shows the tables of scripts. It shows no button until it is told to.
class TAV_HOST_API TavDockableBrowserTool : public TavResultTool {
 public:
  // The two numbers are the least width and height of the table's grid, in characters; the user
  // interface in use has its own mind about them.
  TavDockableBrowserTool(TavWorkbench* workbench, SV::Window* parent, const SV::String& id, long,
                         long);
  ~TavDockableBrowserTool() override;

  void ShowPrevButton(bool show);
  void ShowNextButton(bool show);
  void ShowCloseButton(bool show);
  void ShowSaveButton(bool show);
  void ShowPrintButton(bool show);
  void ShowSearchButton(bool show);
  void CloseAllResults();  // and frees them
};

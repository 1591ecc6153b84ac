#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "host/base/size.h"
#include "tavhost/ui/answer_source.h"
#include "tavhost/ui/current_toolkit.h"
#include "tavhost/ui/toolkit.h"

// The back end without a display: windows are models that get their answers from a file or from
// the terminal.
//
//   auto answers = ui::AnswerSession::Create(
//       {.mode = …, .file = …, .recordPath = …});       // fails: the error is one of usage
//   ui::SetToolkit(ui::CreateHeadlessToolkit({.screen = …, .printer = …, .answers = *answers}));
//   main_frames::Create();                              // behind trace::Open
//   …                                                   // scripts run
//   if (!(*answers)->Finish()) …                        // answers are left over
//   main_frames::Destroy();
namespace ui {

struct HeadlessOptions {
  SV::Size screen{1920, 1080};
  std::string printer;  // the name of the one printer; empty: none
  bool quiet = false;   // no notes on standard error
  // Null: no window has an answer.
  std::shared_ptr<AnswerSource> answers;
  // Where the text of output windows goes; empty: nowhere.
  std::function<void(std::string_view)> print;
  // Shows a line of progress on the terminal in place of the one before, an empty one takes it
  // away; empty: there is no terminal.
  std::function<void(std::string_view)> showStatus;
};

std::unique_ptr<Toolkit> CreateHeadlessToolkit(const HeadlessOptions& options);

}  // namespace ui

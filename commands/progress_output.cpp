// Progress windows, output windows, and what the end of a script clears away.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>

#include "commands/handlers.h"
#include "commands/message_window.h"
#include "commands/support/checks.h"
#include "commands/support/results.h"
#include "host/dialog/app_work_window.h"
#include "host/dialog/percentage_window.h"
#include "host/dialog/save_hide.h"
#include "host/dialog/workbench.h"
#include "host/sv/application.h"
#include "host/sv/multi_line_edit.h"
#include "host/system/sysdepen.h"
#include "host/windows/windows.h"

namespace commands {

namespace {

// The parameters of these commands.
constexpr names::Literal kTitle = "title";
constexpr names::Literal kWithSecondBar = "with-second-bar";
constexpr names::Literal kWithCancelButton = "with-cancel-button";
constexpr names::Literal kText = "text";
constexpr names::Literal kText2 = "text2";
constexpr names::Literal kWinId = "winid";
constexpr names::Literal kSubtitle = "subtitle";
constexpr names::Literal kPercentage = "percentage";
constexpr names::Literal kPercentage2 = "percentage2";

// The window of PERCWIN_CREATE, owned here; null when there is none. It lives until
// PERCWIN_DESTROY, the next PERCWIN_CREATE or the script's end.
TavPercentageWindow* percentageWindow = nullptr;

// How many lines OUT leaves in a window; 0: all. Kept as long as the process lives.
std::int32_t lineLimit = 0;

void DestroyPercentageWindow() {
  if (!percentageWindow) return;
  Tav_SaveHide(percentageWindow);
  delete percentageWindow;
  percentageWindow = nullptr;
}

// Passes on a percentage, if one is given. False for one that does not lie from 0 to 100, as "not a
// number" does not.
bool SetPercentage(TavKelParser& parser, names::Literal name,
                   void (TavPercentageWindow::*set)(double)) {
  double percentage = 0;
  if (!parser.TryGetRealValue(name, percentage)) return true;
  if (!(percentage >= 0 && percentage <= 100)) return false;
  (percentageWindow->*set)(percentage);
  return true;
}

TavWorkbench& Workbench() { return *TavAppWorkWindow::GetGlobal()->GetWorkbench(); }

// One line more than there are line feeds; an empty text has no lines. Counts in blocks so short
// that a block's count fits into a byte: the compiler can then compare many bytes at once.
std::int64_t CountLines(const SV::String& text) {
  constexpr std::size_t kBlock = 128;
  if (text.Len() == 0) return 0;
  const char* at = text.GetStr();
  const char* const end = at + text.Len();
  std::int64_t count = 1;
  for (; at + kBlock <= end; at += kBlock) {
    std::uint8_t inBlock = 0;
    for (std::size_t i = 0; i < kBlock; ++i) {
      inBlock = static_cast<std::uint8_t>(inBlock + (at[i] == '\n' ? 1 : 0));
    }
    count += inBlock;
  }
  return count + std::count(at, end, '\n');
}

// Drops whole lines at the start until no more than `limit` are left. A negative limit can never be
// met; nothing is left then.
void Trim(SV::String& text, std::int64_t limit) {
  std::int64_t surplus = CountLines(text) - limit;
  const char* const begin = text.GetStr();
  const char* rest = begin;
  const char* const end = begin + text.Len();
  for (; surplus > 0 && rest != end; --surplus) {
    const void* const lineFeed = std::memchr(rest, '\n', static_cast<std::size_t>(end - rest));
    rest = lineFeed ? static_cast<const char*>(lineFeed) + 1 : end;
  }
  text.Erase(0, static_cast<long>(rest - begin));
}

}  // namespace

void Command_PERCWIN_CREATE(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (checks::Fails(parser, kTitle, TavKelString, result, checks::kOptional)) return;
  const SV::String title = parser.GetStrValue(kTitle);

  delete percentageWindow;
  percentageWindow = nullptr;
  TavPercentageWindow::Flags flags = 0;
  if (parser.GetBoolValue(kWithSecondBar, false)) flags |= TavPercentageWindow::kSecondBar;
  if (parser.GetBoolValue(kWithCancelButton, false)) flags |= TavPercentageWindow::kCancelButton;
  percentageWindow =
      new (std::nothrow) TavPercentageWindow(SV::GetpApp()->GetAppWindow(), title, "", flags);
  if (percentageWindow) percentageWindow->Show();
}

void Command_PERCWIN_SET(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (checks::Fails(parser, kPercentage, TavKelReal, result, checks::kOptional)) return;
  if (checks::Fails(parser, kText, TavKelString, result, checks::kOptional)) return;
  if (checks::Fails(parser, kPercentage2, TavKelReal, result, checks::kOptional)) return;
  if (checks::Fails(parser, kText2, TavKelString, result, checks::kOptional)) return;

  if (!percentageWindow) {
    results::SetInteger(result, "ecode", 1);
    return;
  }
  const bool first = SetPercentage(parser, kPercentage, &TavPercentageWindow::SetPercentage);
  const bool second = SetPercentage(parser, kPercentage2, &TavPercentageWindow::SetPercentage2);
  if (parser.IsContained(kText)) percentageWindow->SetCurrentMessage(parser.GetStrValue(kText));
  if (parser.IsContained(kText2)) percentageWindow->SetMessage2(parser.GetStrValue(kText2));
  results::SetInteger(result, "ecode", first && second ? 0 : 1);
}

void Command_PERCWIN_IS_CANCELED(const char*, TavKelParser&, TavScriptResult& result) {
  // Without a window the answer is yes, so that a script that works until it is cancelled ends.
  const bool canceled = !percentageWindow || percentageWindow->IsCancelled();
  results::SetInteger(result, "ecode", percentageWindow ? 0 : 1);
  results::SetInteger(result, "canceled", canceled ? 1 : 0);
}

void Command_PERCWIN_DESTROY(const char*, TavKelParser&, TavScriptResult&) {
  DestroyPercentageWindow();
}

void Command_INTERNAL_TAVSCRIPT_FINISHED(const char*, TavKelParser&, TavScriptResult&) {
  DestroyPercentageWindow();
  ReleaseMessageWindow();
}

void Command_CREATE_OUTPUT_WIN(const char*, TavKelParser& parser, TavScriptResult& result) {
  constexpr SV::WinBits kControlStyle = 8577;  // the usual look of an output window
  constexpr auto kSide = static_cast<ToolBoxAlign>(3);
  if (checks::Fails(parser, kWinId, TavKelString, result, checks::kRequired)) return;
  if (checks::Fails(parser, kTitle, TavKelString, result, checks::kRequired)) return;
  const SV::String id = parser.GetStrValue(kWinId);
  const SV::String title = parser.GetStrValue(kTitle);

  TavAppWorkWindow* const workWindow = TavAppWorkWindow::GetGlobal();
  TavWorkbench& workbench = *workWindow->GetWorkbench();
  // Placed and sized before it becomes visible, so that it appears once, where it belongs.
  workbench.AddTool(id, new SV::MultiLineEdit(workWindow, kControlStyle), 0);
  workbench.SetToolLocation(id, kSide, 1, 0);
  workbench.SetToolTitle(id, title);
  workbench.SetToolPrefVerticalSizePixel(id, SV::Size(200, 250));
  workbench.SetToolPrefHorizontalSizePixel(id, SV::Size(250, 120));
  workbench.SetToolVisible(id, true);
  results::SetInteger(result, "ecode", 0);
}

void Command_SET_OUTPUT_WIN_SUBTITLE(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (checks::Fails(parser, kWinId, TavKelString, result, checks::kRequired)) return;
  if (checks::Fails(parser, kSubtitle, TavKelString, result, checks::kRequired)) return;

  Workbench().SetToolSubtitle(parser.GetStrValue(kWinId), parser.GetStrValue(kSubtitle));
  results::SetInteger(result, "ecode", 0);
}

void Command_OUT(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (checks::Fails(parser, kWinId, TavKelString, result, checks::kRequired)) return;
  if (checks::Fails(parser, kText, TavKelString, result, checks::kRequired)) return;

  SV::Window* const window = Workbench().GetToolWindow(parser.GetStrValue(kWinId));
  if (!window) {
    results::SetInteger(result, "ecode", 1);
    return;
  }
  SV::String text = window->GetText();
  text += parser.GetStrValue(kText);
  if (lineLimit != 0) Trim(text, lineLimit);
  window->SetText(text);
  const long last = text.Len() - 1;
  if (auto* const edit = dynamic_cast<SV::Edit*>(window)) {
    edit->ChangeSelection(SV::Selection(last, last));
  }
  SendMessageA(SV::Sysdepen::GethWnd(window), EM_SCROLLCARET, 0, 0);
  results::SetInteger(result, "ecode", 0);
}

void Command_SET_OUT_MAX_LINE_COUNT(const char*, TavKelParser& parser, TavScriptResult& result) {
  lineLimit = static_cast<std::int32_t>(parser.GetIntValue());
  results::SetInteger(result, "ecode", 0);
}

}  // namespace commands

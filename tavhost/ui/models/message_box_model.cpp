#include "tavhost/ui/models/message_box_model.h"

#include <utility>

#include "host/sv/mess_box.h"

namespace ui {

namespace {

const ModalButton kOk{"ok", "OK", 1};
const ModalButton kYes{"yes", "Yes", 2};
const ModalButton kNo{"no", "No", 3};
const ModalButton kRetry{"retry", "Retry", 4};
const ModalButton kCancel{"cancel", "Cancel", 0};

const char* DefaultTitle(MessageKind kind) {
  switch (kind) {
    case MessageKind::kInfo:
      return "Information";
    case MessageKind::kQuery:
      return "Question";
    case MessageKind::kError:
      return "Error";
    case MessageKind::kWarning:
      return "Warning";
  }
  return "";
}

}  // namespace

MessageBoxModel::MessageBoxModel(MessageKind kind, std::uint32_t style, std::string text)
    : ModalModel(ModalKind::kMessageBox, DefaultTitle(kind)),
      message_(kind),
      style_(style),
      text_(std::move(text)) {}

std::vector<ModalButton> MessageBoxModel::Buttons() const {
  if (style_ & SV::kMessBoxOkCancel) return {kOk, kCancel};
  if (style_ & SV::kMessBoxYesNo) return {kYes, kNo};
  if (style_ & SV::kMessBoxYesNoCancel) return {kYes, kNo, kCancel};
  if (style_ & SV::kMessBoxRetryCancel) return {kRetry, kCancel};
  return {kOk};
}

std::string MessageBoxModel::DefaultButton() const {
  static constexpr std::pair<std::uint32_t, std::string_view> kDefaults[] = {
      {SV::kMessBoxDefaultOk, "ok"},       {SV::kMessBoxDefaultCancel, "cancel"},
      {SV::kMessBoxDefaultRetry, "retry"}, {SV::kMessBoxDefaultYes, "yes"},
      {SV::kMessBoxDefaultNo, "no"},
  };
  const std::vector<ModalButton> buttons = Buttons();
  for (const auto& [bit, name] : kDefaults) {
    if (!(style_ & bit)) continue;
    for (const ModalButton& button : buttons) {
      if (button.name == name) return button.name;
    }
  }
  return buttons.front().name;
}

}  // namespace ui

#include "host/dialog/file_dialog.h"

#include <cstring>

#include "host/sv/modal_dialog.h"
#include "tavhost/base/string_of.h"
#include "tavhost/base/trace.h"
#include "tavhost/dialog/window_stack.h"
#include "tavhost/sv/modal.h"
#include "tavhost/ui/models/file_dialog_model.h"

// The dialog is no window of the class library for plug-ins, so it holds one. The initial name lies
// in a buffer of fixed size and is cut to it.
class TavFileDialog::Window final : public SV::ModalDialog {
 public:
  Window(SV::Window* parent, std::uint32_t style)
      : ModalDialog(parent, std::make_unique<ui::FileDialogModel>(style)) {}

  ui::FileDialogModel& Files() { return static_cast<ui::FileDialogModel&>(Model()); }

  char fileName[kFileNameCapacity] = {};
};

TavFileDialog::TavFileDialog(SV::Window* parent, std::uint32_t style, SV::Edit* edit,
                             SV::String* text) {
  trace::Call call("TavFileDialog::TavFileDialog", trace::Window(parent), style,
                   trace::Window(edit), trace::Window(text));
  window_ = std::make_unique<Window>(parent, style);
  call.Created("TavFileDialog", this);
}

TavFileDialog::~TavFileDialog() {
  trace::Call call(this, "~TavFileDialog");
  call.Write();
  trace::Forget(this);
  window_.reset();
}

void TavFileDialog::AllowMultiSelectOnOpen() {
  trace::Call call(this, "AllowMultiSelectOnOpen");
  call.Write();
  window_->Files().multiple = true;
}

void TavFileDialog::SetPath(const SV::String& path) {
  trace::Call call(this, "SetPath", path);
  call.Write();
  window_->Files().startPath = path.View();
}

SV::String TavFileDialog::GetPath() {
  trace::Call call(this, "GetPath");
  const std::vector<std::string>& chosen = window_->Files().chosen;
  return call.Result(chosen.empty() ? SV::String() : base::StringOf(chosen.front()));
}

void TavFileDialog::AddFilter(const SV::String& text, const SV::String& type) {
  trace::Call call(this, "AddFilter", text, type);
  call.Write();
  window_->Files().filters.push_back({std::string(text.View()), std::string(type.View())});
}

void TavFileDialog::SetCurFilter(const SV::String& text) {
  trace::Call call(this, "SetCurFilter", text);
  call.Write();
  window_->Files().SetCurrentFilter(text.View());
}

void TavFileDialog::SetDefaultExt(const SV::String& extension) {
  trace::Call call(this, "SetDefaultExt", extension);
  call.Write();
  window_->Files().defaultExtension = extension.View();
}

void TavFileDialog::SetInitialFileName(const SV::String& name) {
  trace::Call call(this, "SetInitialFileName", name);
  call.Write();
  std::size_t length = std::strlen(name.GetStr());
  if (length >= kFileNameCapacity) {
    length = kFileNameCapacity - 1;
    // Not into the middle of a character: its later bytes have the form 10xxxxxx.
    while (length > 0 && (static_cast<unsigned char>(name.GetStr()[length]) & 0xC0) == 0x80) {
      --length;
    }
  }
  std::memcpy(window_->fileName, name.GetStr(), length);
  window_->fileName[length] = '\0';
  window_->Files().fileName = window_->fileName;
}

long TavFileDialog::Execute() {
  trace::Call call(this, "Execute");
  const window_stack::Scope scope(window_.get());
  return call.Result(modal::Run(*window_));
}

void TavFileDialog::GetSelectedFiles(ISequence<SV::String>& files) {
  trace::Call call(this, "GetSelectedFiles");
  call.Write();
  for (const std::string& path : window_->Files().chosen) files.Append(base::StringOf(path));
}

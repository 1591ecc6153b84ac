#pragma once

#include <cstdint>
#include <memory>

#include "host/base/forward.h"
#include "host/base/sequence.h"
#include "host/base/string.h"
#include "host/export.h"
#include "host/sv/forward.h"

// Chooses files to open, or a file to save to.
class TAV_HOST_API TavFileDialog {
 public:
  // The name that stands in the dialog at the start lies in a buffer of this size, its NUL
  // included.
  static constexpr long kFileNameCapacity = 1024;

  // `style` is 0x20 and 0x1000 for opening or 0x2000 for saving; with neither the dialog opens.
  TavFileDialog(SV::Window* parent, std::uint32_t style, SV::Edit* edit = nullptr,
                SV::String* text = nullptr);
  TavFileDialog(const TavFileDialog&) = delete;
  TavFileDialog& operator=(const TavFileDialog&) = delete;
  ~TavFileDialog();

  void AllowMultiSelectOnOpen();         // without effect when saving
  void SetPath(const SV::String& path);  // the directory in which it starts
  SV::String GetPath();                  // the chosen file, the first of several; empty for none
  // `text` is what the user sees, `type` the pattern of the files, as "*.txt".
  void AddFilter(const SV::String& text, const SV::String& type);
  // The filter of that text; one that is not there changes nothing.
  void SetCurFilter(const SV::String& text);
  void SetDefaultExt(const SV::String& extension);  // of names that the user types without one
  // Up to the text's first NUL; cut at a character's end when it is too long for the buffer.
  void SetInitialFileName(const SV::String& name);
  long Execute();                                       // 1 for OK
  void GetSelectedFiles(ISequence<SV::String>& files);  // appends the paths of the chosen files

 private:
  class Window;
  std::unique_ptr<Window> window_;
};

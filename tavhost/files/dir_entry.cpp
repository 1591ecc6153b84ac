#include "host/files/dir_entry.h"

#include "tavhost/files/dir_entry_style.h"

namespace SV {

namespace {

bool IsSeparator(char byte) { return byte == '\\' || byte == '/'; }

String InSystemStyle(const String& text) {
  String styled;
  char* bytes = styled.AllocBuffer(text.Len());
  for (const char byte : text.View()) *bytes++ = IsSeparator(byte) ? dir_entry::kSeparator : byte;
  return styled;
}

}  // namespace

DirEntry::DirEntry(const String& pattern) : text_(InSystemStyle(pattern)) {}

DirEntry::DirEntry(DirEntryFlag) : text_(".") {}

DirEntry DirEntry::GetPath() const {
  long end = text_.Len();
  while (end > 0 && !IsSeparator(text_.GetChar(end - 1))) --end;
  const long drive = dir_entry::DriveLength(text_);
  if (end == 0) {
    String path = text_.Copy(0, drive);
    path += '.';
    return path;
  }
  // The separator of a root belongs to it.
  const bool isRoot = end == 1 || end == drive + 1;
  return text_.Copy(0, isRoot ? end : end - 1);
}

String DirEntry::GetFull() const { return text_.Len() == 0 ? String(".") : text_; }

bool DirEntry::ToAbs() {
  String absolute = GetFull();
  if (!dir_entry::MakeAbsolute(absolute)) return false;
  text_ = absolute;
  return true;
}

}  // namespace SV

#include "host/files/dir_entry.h"

#include <string>
#include <string_view>

#include "tavhost/base/file_names.h"
#include "tavhost/base/string_of.h"
#include "tavhost/files/dir_entry_style.h"

namespace dir_entry {

namespace {
std::string currentDirectory;
}  // namespace

void SetCurrentDirectory(const std::string& directory) { currentDirectory = directory; }

}  // namespace dir_entry

namespace SV {

namespace {

using file_names::IsSeparator;

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
  const std::string& current = dir_entry::currentDirectory;
  const bool isRelative =
      !IsSeparator(absolute.GetChar(0)) && dir_entry::DriveLength(absolute) == 0;
  if (!current.empty() && isRelative) {
    const bool needsSeparator = !IsSeparator(current.back());
    std::string path = current;
    if (!(absolute == ".")) {
      if (needsSeparator) path += dir_entry::kSeparator;
      path += absolute.View();
    }
    absolute = base::StringOf(path);
  }
  if (!dir_entry::MakeAbsolute(absolute)) return false;
  text_ = absolute;
  return true;
}

}  // namespace SV

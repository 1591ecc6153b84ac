#pragma once

#include <string>
#include <vector>

#include "host/base/string.h"
#include "tavhost/ui/models/drawing_model.h"

// Reads drawings, which are KEL: docs/drawings.md tells their elements.
namespace drawing_reader {

inline constexpr int kMaxGroupDepth = 100;          // groups inside each other
inline constexpr int kMaxFileDepth = 8;             // files that name files; a circle ends here
inline constexpr std::size_t kMaxFiles = 1000;      // named in all
inline constexpr std::size_t kMaxShapes = 1000000;  // more than anybody looks at

struct File {
  std::string path;
  SV::String text;  // empty when it cannot be read
  bool isRead = false;
};

struct Result {
  ui::Drawing drawing;
  std::string error;        // "LINE:COLUMN: …", with the file in front when it lies in one
  std::vector<File> files;  // that were read, also when there is an error
};

// `folder` is where relative names in the text begin; those in a file begin where it lies.
Result Read(const SV::String& text, const std::string& folder);

// Whether a file has other contents now, has come or has gone. Reads all of them.
bool HaveChanged(const std::vector<File>& files);

}  // namespace drawing_reader

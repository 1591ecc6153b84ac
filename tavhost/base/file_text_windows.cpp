#include "tavhost/base/file_text.h"
#include "tavhost/base/wide_text_windows.h"

namespace base {

std::FILE* OpenForReading(const std::string& name) { return _wfopen(Wide(name).c_str(), L"rb"); }

}  // namespace base

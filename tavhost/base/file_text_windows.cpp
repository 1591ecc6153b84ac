#include "tavhost/base/file_text.h"
#include "tavhost/base/wide_text_windows.h"

namespace base {

// "N": programs that this one starts do not inherit it.
std::FILE* OpenForReading(const std::string& name) { return _wfopen(Wide(name).c_str(), L"rbN"); }
std::FILE* OpenForWriting(const std::string& name) { return _wfopen(Wide(name).c_str(), L"wbN"); }

}  // namespace base

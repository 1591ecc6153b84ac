#include "tavhost/base/file_text.h"

namespace base {

// "e": closed in programs that this one starts.
std::FILE* OpenForReading(const std::string& name) { return std::fopen(name.c_str(), "rbe"); }
std::FILE* OpenForWriting(const std::string& name) { return std::fopen(name.c_str(), "wbe"); }

}  // namespace base

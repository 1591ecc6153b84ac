#include "tavhost/base/file_text.h"

namespace base {

std::FILE* OpenForReading(const std::string& name) { return std::fopen(name.c_str(), "rb"); }

}  // namespace base

#pragma once

#include "tavhost/base/whole_file.h"

namespace base {

// WholeFile::Open for a name as the system's `...at` functions take it; the directory is needed
// during the call only.
Result<std::unique_ptr<WholeFile>> OpenWholeFileAt(int directory, std::string_view path,
                                                   const WholeFile::Options& options);

}  // namespace base

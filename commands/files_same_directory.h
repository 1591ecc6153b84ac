#pragma once

#include <functional>
#include <string_view>

#include "host/base/string.h"

namespace commands {

// Whether `target` is a directory that lies in the one at `path`, or is that, whatever both are
// called: a directory can be mounted at several places. Where that cannot be told, true.
bool LiesInDirectory(const SV::String& target, const SV::String& path);

// The same for each directory in `folder` for whose name `fits` says so.
bool LiesInDirectoryOf(const SV::String& target, const SV::String& folder,
                       const std::function<bool(std::string_view)>& fits);

}  // namespace commands

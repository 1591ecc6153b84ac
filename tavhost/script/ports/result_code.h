#pragma once

#include <cstddef>
#include <optional>

#include "host/script/forward.h"

namespace script {

// What a command has set as its `ecode`, wherever the result wants it; nothing when it set none.
// `textBefore` is the length of the result's text before the command.
std::optional<int> CodeOf(TavScriptResult& result, std::size_t textBefore);

}  // namespace script

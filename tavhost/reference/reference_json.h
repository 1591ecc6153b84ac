#pragma once

#include <nlohmann/json_fwd.hpp>

#include "tavhost/reference/reference.h"

namespace reference {

// The fields of the reference under the names that the files give them; what is empty or has its
// usual value is left out.
nlohmann::ordered_json ToJson(const Command& command);
nlohmann::ordered_json ToJson(const Catalogue& catalogue);

}  // namespace reference

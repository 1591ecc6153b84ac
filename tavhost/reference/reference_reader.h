#pragma once

#include <string>
#include <vector>

#include "tavhost/reference/reference.h"

namespace reference {

// One file of the reference. What it cannot read it leaves out and tells in `problems`.
Family ReadFamily(const Source& source, std::vector<std::string>& problems);

// Tells where names do not fit together: twice the same command or parameter, a condition or a
// choice that names no parameter, a related command that does not exist.
void CheckReferences(const Catalogue& catalogue, std::vector<std::string>& problems);

}  // namespace reference

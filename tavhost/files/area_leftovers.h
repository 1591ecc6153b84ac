#pragma once

#include <string>
#include <vector>

// What programs that were killed have left in the database file area: the beginnings of files that
// were to take the place of others (`.tavhost-PROCESS-NUMBER.tmp`).
namespace area_leftovers {

// Removes those in `folder` whose program is gone for certain, as many as there is time for: the
// rest has time when the area is looked at again. `files` is what the folder holds; `locks` is the
// file of the area's locks.
void Remove(const std::string& locks, const std::string& folder,
            const std::vector<std::string>& files);

}  // namespace area_leftovers

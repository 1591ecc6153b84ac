#pragma once

#include <string>

#include "host/windows/windows.h"

namespace commands {

// Gives a directory that was made as a copy the times that a search told of the original. Nothing
// depends on it: where it cannot be done, the times stay those of now.
void TakeTimes(const std::string& directory, const WIN32_FIND_DATAA& original);

// The directory made for the entry at which the innermost search stands is whole, a copy of that
// entry. False when it could not be given the permissions of the original.
bool FinishCopy();

}  // namespace commands

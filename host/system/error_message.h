#pragma once

#include "host/export.h"

// Tells the user about an internal error that was noticed at that place of a source file, and goes
// on.
TAV_HOST_API void displayErrorMessage(const char* sourceFile, int line);

#pragma once

#include "host/export.h"

// Reports an internal error noticed at that place of a source file.
TAV_HOST_API void displayErrorMessage(const char* sourceFile, int line);

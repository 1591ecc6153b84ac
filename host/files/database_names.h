#pragma once

#include "host/base/string.h"
#include "host/export.h"

// Whether `name` names a file of the database file area: `db:\` and a name that any system can
// store. Separators, `..`, control bytes, `<>:"|?*`, a blank or dot at the end and the names of
// devices are refused.
TAV_HOST_API bool Tav_Valid_DBFilename(const char* name);

// Absolute names and those that begin with `db:\` stay as they are; others lie in the folder of
// the running script, without one in the current directory.
TAV_HOST_API SV::String Tav_GetProgramPathFilename(const char* name);

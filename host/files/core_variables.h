#pragma once

#include "host/export.h"

// Numbers of the host that plug-ins may ask for.
enum TavCoreVarType {
  TavCoreVarDatabaseDirectory = 2,  // the folder of the database file area that scripts see
};

// -1 for a variable that this host does not have.
TAV_HOST_API long Tav_GetCoreVarConst(TavCoreVarType variable);

#pragma once

// The database file area belongs to the file services, which read from it.
#include "tavhost/services/database_area.h"

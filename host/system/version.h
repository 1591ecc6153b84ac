#pragma once

#include "host/export.h"

// The host's version as one number: major * 10000 + minor * 100 + patch.
TAV_HOST_API int Tav_GetVersionIdentifier();

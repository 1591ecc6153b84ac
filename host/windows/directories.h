#pragma once

// The C runtime's directory functions: 0 on success, else -1.
#if defined(_WIN32)
#include <direct.h>
#else
#include "host/export.h"

TAV_HOST_API int _chdir(const char* path);
TAV_HOST_API int _mkdir(const char* path);
TAV_HOST_API int _rmdir(const char* path);
#endif

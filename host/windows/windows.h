#pragma once

// The Windows functions that the commands use: the system's own on Windows, elsewhere functions of
// the same names that behave the same.
#if defined(_WIN32)
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#else
#include "host/windows/clock.h"
#include "host/windows/files.h"
#include "host/windows/messages.h"
#include "host/windows/wait.h"
#endif

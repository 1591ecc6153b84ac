#pragma once

// The proxy settings of the current user: the system's own functions on Windows, elsewhere ones
// of the same names that read the environment and the desktop's settings.
#if defined(_WIN32)
#include "host/windows/windows.h"
//
#include <winhttp.h>
#else
#include "host/export.h"
#include "host/windows/types.h"

// Strings are null where nothing is set.
struct WINHTTP_CURRENT_USER_IE_PROXY_CONFIG {
  BOOL fAutoDetect;
  LPWSTR lpszAutoConfigUrl;
  LPWSTR lpszProxy;
  LPWSTR lpszProxyBypass;
};

// The three strings belong to the caller, who frees each with GlobalFree; null where there is none.
TAV_HOST_API BOOL
WinHttpGetIEProxyConfigForCurrentUser(WINHTTP_CURRENT_USER_IE_PROXY_CONFIG* config);
TAV_HOST_API HGLOBAL GlobalFree(HGLOBAL memory);

// Converts to UTF-8, which stands for every code page here. `count` -1 means up to and with the
// NUL. Returns the bytes written; 0 when they do not fit, and then no NUL may stand in `bytes`.
TAV_HOST_API int WideCharToMultiByte(UINT codePage, DWORD flags, LPCWSTR wide, int count,
                                     LPSTR bytes, int capacity, LPCSTR defaultByte,
                                     BOOL* usedDefault);
#endif

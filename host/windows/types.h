#pragma once

#include <cstdint>

// The types of the Windows functions on other systems, as wide as they are on Windows; that is why
// a LONG is no `long`.
using BOOL = int;
using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using UINT = unsigned;
using LONG = std::int32_t;
using ULONGLONG = std::uint64_t;
using HANDLE = void*;
using HGLOBAL = void*;
using HWND = void*;
using HMODULE = void*;
using WPARAM = std::uintptr_t;
using LPARAM = std::intptr_t;
using LRESULT = std::intptr_t;
using LPSTR = char*;
using LPCSTR = const char*;
using LPWSTR = char16_t*;  // 16-bit units, as on Windows
using LPCWSTR = const char16_t*;

inline constexpr BOOL FALSE = 0;
inline constexpr BOOL TRUE = 1;
inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(std::intptr_t{-1});

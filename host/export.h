#pragma once

// TAV_HOST_API marks what the host offers to plug-ins. The host exports it from its own program,
// where a plug-in finds it when it is loaded; on Windows the plug-in has to say that it imports it.
//
// TAV_PLUGIN_API marks the functions that the host finds in a plug-in, by their plain names.
#if defined(_WIN32)
#define TAV_PLUGIN_API extern "C" __declspec(dllexport)
#if defined(TAVHOST_BUILDING_HOST)
#define TAV_HOST_API __declspec(dllexport)
#else
#define TAV_HOST_API __declspec(dllimport)
#endif
#else
#define TAV_PLUGIN_API extern "C" __attribute__((visibility("default")))
#define TAV_HOST_API __attribute__((visibility("default")))
#endif

// How plug-ins export their entry points.
#pragma once

#if defined(_WIN32)
#define LOMIX_PLUGIN_EXPORT extern "C" __declspec(dllexport)
#else
#define LOMIX_PLUGIN_EXPORT extern "C" __attribute__((visibility("default")))
#endif

// Marks what the Gleamwork library shows to its users; everything else stays hidden inside the library.
#pragma once

#if defined(_WIN32)
#if defined(Gleamwork_EXPORTS)
#define GW_API __declspec(dllexport)
#else
#define GW_API __declspec(dllimport)
#endif
#else
#define GW_API __attribute__((visibility("default")))
#endif

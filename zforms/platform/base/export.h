#pragma once

// ZFORMS_API marks what the shared library exports; everything else is compiled with hidden visibility. ZFORMS_STATIC
// is defined for the static library and for programs that link it.
#if defined(ZFORMS_STATIC)
#define ZFORMS_API
#elif defined(_WIN32)
#if defined(ZFORMS_BUILDING)
#define ZFORMS_API __declspec(dllexport)
#else
#define ZFORMS_API __declspec(dllimport)
#endif
#else
#define ZFORMS_API __attribute__((visibility("default")))
#endif

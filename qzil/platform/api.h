#pragma once

/// Marks what the shared library exports; everything else is hidden.
#if defined(_WIN32)
#if defined(QZIL_BUILDING)
#define QZIL_API __declspec(dllexport)
#else
#define QZIL_API __declspec(dllimport)
#endif
#else
#define QZIL_API __attribute__((visibility("default")))
#endif

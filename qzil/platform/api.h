#pragma once

/// Marks what the shared library exports; everything else is hidden, and so are
/// members of exported classes that are templates for the library alone.
#if defined(_WIN32)
#if defined(QZIL_BUILDING)
#define QZIL_API __declspec(dllexport)
#else
#define QZIL_API __declspec(dllimport)
#endif
#define QZIL_HIDDEN
#else
#define QZIL_API __attribute__((visibility("default")))
#define QZIL_HIDDEN __attribute__((visibility("hidden")))
#endif

/// The name that every class of the library has; its GetActualClassName, virtual where the class has virtual functions,
/// tells that of the most derived class.
#define QZIL_CLASS_NAME(Class)                    \
    static constexpr char m_ClassName[] = #Class; \
    static char const* GetClassNameA() {          \
        return m_ClassName;                       \
    }

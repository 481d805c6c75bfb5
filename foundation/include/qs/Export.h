// Visibility of the foundation's public names.
#pragma once

#if defined(_WIN32)
#if defined(QS_BUILD)
#define QS_API __declspec(dllexport)
#else
#define QS_API __declspec(dllimport)
#endif
/// For class templates whose static members must be one object in the whole process, whichever library uses them.
#define QS_TEMPLATE_API
#else
#define QS_API __attribute__((visibility("default")))
#define QS_TEMPLATE_API __attribute__((visibility("default")))
#endif

#if defined(__clang__)
#define QS_PRINTF_FORMAT(formatIndex, firstArgument) __attribute__((format(printf, formatIndex, firstArgument)))
#elif defined(__GNUC__)
#define QS_PRINTF_FORMAT(formatIndex, firstArgument) __attribute__((format(gnu_printf, formatIndex, firstArgument)))
#else
#define QS_PRINTF_FORMAT(formatIndex, firstArgument)
#endif

#if defined(__GNUC__)
/// Keeps the body of a diagnostic out of the caller's hot path.
#define QS_COLD __attribute__((cold, noinline))
#define QS_FUNCTION __PRETTY_FUNCTION__
#else
#define QS_COLD
#define QS_FUNCTION __func__
#endif

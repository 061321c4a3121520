#pragma once

/// Clang's thread-safety attributes, which its builds check. Nothing for other compilers.
#if defined(__clang__)
#define THREAD_SAFETY(attribute) __attribute__((attribute))
#else
#define THREAD_SAFETY(attribute)
#endif

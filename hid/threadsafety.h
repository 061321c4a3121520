#pragma once

/// Sets one of Clang's thread-safety attributes, which Clang checks. Expands to nothing with other compilers.
#if defined(__clang__)
#define THREAD_SAFETY(attribute) __attribute__((attribute))
#else
#define THREAD_SAFETY(attribute)
#endif

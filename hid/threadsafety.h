#pragma once

/// Sets one of Clang's thread-safety attributes, so that Clang checks how locks are used. Expands to nothing
/// with other compilers.
#if defined(__clang__)
#define THREAD_SAFETY(attribute) __attribute__((attribute))
#else
#define THREAD_SAFETY(attribute)
#endif

// Parsing all of the compiler's intrinsics takes half a second, and windows.h needs only those of <emmintrin.h>.
#ifndef __CYGWIN__
#include_next <x86intrin.h>
#endif

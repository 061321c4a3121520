// Parsing all of the compiler's intrinsics takes half a second. The headers of Windows need only those of
// <emmintrin.h>, which they include too.
#ifndef __CYGWIN__
#include_next <x86intrin.h>
#endif

// Leaves out the compiler's intrinsics, because parsing all of them takes half a second. The headers of
// Windows need only those of <emmintrin.h>, and include that header themselves.
#ifndef __CYGWIN__
#include_next <x86intrin.h>
#endif

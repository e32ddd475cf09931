#include "key/vectorWidth.h"

namespace eboDsp {

VectorWidth widestVectors()
{
#if defined(__x86_64__)
    if (__builtin_cpu_supports("avx512f"))
        return VectorWidth::k16;
    if (__builtin_cpu_supports("avx2"))
        return VectorWidth::k8;
#endif
    return VectorWidth::k4;
}

}  // namespace eboDsp

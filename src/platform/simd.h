/// Compiles a kernel once for each of several instruction sets; the loader picks the widest that the machine has.
///
/// Put KY_SIMD_CLONES before a plain function. What it calls in its loops must be inlined (KY_ALWAYS_INLINE), or it
/// runs in the base instruction set. The clones give the same bits: the build forbids fused multiply and add.
#ifndef KYFOCUS_PLATFORM_SIMD_H
#define KYFOCUS_PLATFORM_SIMD_H

#if defined(KY_CLONES) && defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__)
#define KY_SIMD_CLONES __attribute__((target_clones("arch=x86-64-v4", "arch=x86-64-v3", "default")))
#else
#define KY_SIMD_CLONES
#endif

#define KY_ALWAYS_INLINE inline __attribute__((always_inline))

#endif

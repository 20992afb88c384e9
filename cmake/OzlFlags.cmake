# Compiler flags shared by every configuration. Vector types as template
# arguments lose their alignment attribute, which is harmless for by-value SIMD
# wrappers: that warning is off.
set(OZL_WARNINGS -Wall -Wextra -Wno-unused-parameter -Wno-ignored-attributes)

# Floating-point results must not depend on the instruction set: no contraction
# into fused multiply-adds, and SSE arithmetic (not x87) on 32-bit x86 too.
add_compile_options(-ffp-contract=off)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(i.86|x86)$" OR CMAKE_SIZEOF_VOID_P EQUAL 4)
  add_compile_options(-msse2 -mfpmath=sse)
endif()

if(OZL_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()

# Instruction-set flags by file-name suffix (_avx512vbmi, _avx512gfni: the
# AVX-512 level with the byte permutes or the bit-matrix instructions, used
# only where the processor has them). On Windows
# the toolchain cannot align the stack to 32 bytes, so 256-bit spills must use
# unaligned moves. The AVX-512 files hold explicit vector code; the compiler's
# own vectorizer stays off there, since it turns scalar complex products into
# fused multiply-adds (which AVX-512 offers) whatever -ffp-contract says.
function(ozl_set_isa_flags sources)
  foreach(src ${sources})
    if(src MATCHES "_avx2\\.cpp$" OR src MATCHES "_avx512(vbmi|gfni)?\\.cpp$")
      set(flags "-mavx2")
      if(src MATCHES "_avx512\\.cpp$")
        set(flags "-mavx512f -mavx512bw -mavx512dq -mavx512vl -fno-tree-vectorize")
      elseif(src MATCHES "_avx512vbmi\\.cpp$")
        set(flags "-mavx512f -mavx512bw -mavx512dq -mavx512vl -mavx512vbmi -fno-tree-vectorize")
      elseif(src MATCHES "_avx512gfni\\.cpp$")
        set(flags "-mavx512f -mavx512bw -mavx512dq -mavx512vl -mgfni -fno-tree-vectorize")
      endif()
      if(WIN32)
        set(flags "${flags} -Wa,-muse-unaligned-vector-move")
      endif()
      set_source_files_properties(${src} PROPERTIES COMPILE_FLAGS "${flags}")
    elseif(src MATCHES "_sse2\\.cpp$")
      set_source_files_properties(${src} PROPERTIES COMPILE_FLAGS "-msse2")
    endif()
  endforeach()
endfunction()

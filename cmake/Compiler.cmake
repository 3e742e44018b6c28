# Flags of everything that this project compiles. A host that links the library gets none of them.
add_library(qv_compiler INTERFACE)
target_compile_options(qv_compiler INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wcast-qual -Wundef -Wvla -Werror
  # A fused multiply-add rounds once where the description of a result rounds twice: results would depend on the
  # processor and on the compiler's mood.
  -ffp-contract=off
  # No result depends on errno or on floating-point traps; without these two, loops with a comparison or a square
  # root do not vectorise. Neither changes a value.
  -fno-math-errno -fno-trapping-math
  # GCC 12 merges neighbouring statements "x = (float)(a / b)", x a double, into a vector and loses the rounding to
  # float on the way. Loops are vectorised elsewhere, and rightly.
  $<$<CXX_COMPILER_ID:GNU>:-fno-tree-slp-vectorize>)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(i.86|x86)$")
  target_compile_options(qv_compiler INTERFACE
    # x87 registers would keep more digits than a float or double holds, here and there.
    -msse2 -mfpmath=sse
    # Hosts align the stack to 4 bytes only: every function that calls another or spills a vector aligns it anew.
    -mincoming-stack-boundary=2)
endif()
if(WIN32)
  # windows.h: no min/max macros, no extras; the API level that the pixel-format calls need is below any supported.
  target_compile_definitions(qv_compiler INTERFACE NOMINMAX WIN32_LEAN_AND_MEAN)
endif()
if(QV_3D_SANITIZE)
  add_compile_options(-fsanitize=${QV_3D_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${QV_3D_SANITIZE})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # GCC 12 sees uninitialised values inside its own headers once a sanitizer has been at it.
    add_compile_options(-Wno-maybe-uninitialized)
  endif()
endif()

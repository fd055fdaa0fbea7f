# Flags that every target of the project shares: they are part of the exact results.
add_library(qzil_flags INTERFACE)
# Contraction would make a third of float results change with the processor. Nobody reads the floating-point exception
# flags or errno, and loops with a guarded division vectorise only when the compiler may know that.
target_compile_options(qzil_flags INTERFACE -ffp-contract=off -fno-trapping-math -fno-math-errno -Wall -Wextra -Wpedantic -Wshadow -Wconversion
                                            -Wno-sign-conversion)
# Clang vectorises without the hint that loops give GCC.
target_compile_options(qzil_flags INTERFACE $<$<CXX_COMPILER_ID:Clang>:-Wno-unknown-pragmas>)
if(QZIL_WERROR)
  target_compile_options(qzil_flags INTERFACE -Werror)
endif()
foreach(config RELEASE RELWITHDEBINFO)
  string(REPLACE "-O2" "-O3" CMAKE_CXX_FLAGS_${config} "${CMAKE_CXX_FLAGS_${config}}")
endforeach()

if(CMAKE_CXX_FLAGS MATCHES "-fsanitize")
  set(QZIL_SANITIZED ON)
endif()
# Code around the library that compiles for minutes with sanitizers and optimizations, and runs for milliseconds.
function(qzil_quick_to_compile target)
  if(QZIL_SANITIZED AND NOT MSVC)
    target_compile_options(${target} PRIVATE -O0 -g1)
  endif()
endfunction()

# The CPU levels that row sources are compiled for; fewer build sooner.
if(NOT DEFINED QZIL_LEVELS)
  set(QZIL_LEVELS baseline)
  if(NOT MSVC AND CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
    list(APPEND QZIL_LEVELS v3 v4)
  endif()
endif()

# Makes a library of row objects one of a level.
function(qzil_row_level target level)
  target_compile_definitions(${target} PRIVATE QZIL_BUILDING QZIL_LEVEL=${level})
  if(v3 IN_LIST QZIL_LEVELS)
    target_compile_definitions(${target} PRIVATE QZIL_HAS_X86_LEVELS)
  endif()
  if(level STREQUAL v3)
    target_compile_options(${target} PRIVATE -march=x86-64-v3)
  elseif(level STREQUAL v4)
    target_compile_options(${target} PRIVATE -march=x86-64-v4 -mprefer-vector-width=512)
  endif()
  # Threaded jumps multiply the limits of a sample into branches, which then cannot become one vector.
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-thread-jumps>)
  set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON CXX_VISIBILITY_PRESET hidden
                                             VISIBILITY_INLINES_HIDDEN ON)
endfunction()

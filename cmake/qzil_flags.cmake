# Flags that every target of the project shares: they are part of the exact results.
add_library(qzil_flags INTERFACE)
# Contraction would make a third of float results change with the processor. Nobody reads the floating-point exception
# flags or errno, and loops with a guarded division vectorise only when the compiler may know that.
target_compile_options(qzil_flags INTERFACE -ffp-contract=off -fno-trapping-math -fno-math-errno -Wall -Wextra -Wpedantic -Wshadow -Wconversion
                                            -Wno-sign-conversion)
if(QZIL_WERROR)
  target_compile_options(qzil_flags INTERFACE -Werror)
endif()
foreach(config RELEASE RELWITHDEBINFO)
  string(REPLACE "-O2" "-O3" CMAKE_CXX_FLAGS_${config} "${CMAKE_CXX_FLAGS_${config}}")
endforeach()

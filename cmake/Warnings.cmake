# The warnings of our own build. The list has those of both compilers; each compiler gets the ones that it supports.
# They are errors unless QMT_WARNINGS_AS_ERRORS is off, so that a newer compiler need not break the build.
include(CheckCXXCompilerFlag)

option(QMT_WARNINGS_AS_ERRORS "Treat compiler warnings as errors" OFF)

set(QMT_WARNING_CANDIDATES
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow
    -Wsign-conversion -Wold-style-cast -Wuseless-cast -Wcast-align -Wcast-qual
    -Wduplicated-cond -Wduplicated-branches -Wlogical-op -Wnull-dereference
    -Wnon-virtual-dtor -Woverloaded-virtual -Wextra-semi -Wformat=2 -Wundef -Wunused
    -Wimplicit-fallthrough -Wredundant-decls -Wmissing-declarations -Wswitch-enum -Wdouble-promotion
    -Wextra-semi-stmt -Wcomma -Wunreachable-code-aggressive -Wloop-analysis -Wrange-loop-analysis
    -Wnewline-eof -Wdocumentation -Wshadow-all)

add_library(qmt_warnings INTERFACE)
foreach(flag IN LISTS QMT_WARNING_CANDIDATES)
    string(MAKE_C_IDENTIFIER "HAVE${flag}" known)
    check_cxx_compiler_flag("-Werror ${flag}" ${known})
    if(${known})
        target_compile_options(qmt_warnings INTERFACE ${flag})
    endif()
endforeach()
if(QMT_WARNINGS_AS_ERRORS)
    target_compile_options(qmt_warnings INTERFACE -Werror)
endif()

# Hardening of the release build. Debug and instrumented builds go without: fortified calls need an optimiser
# and get in the way of the sanitizers.
include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)
include(CheckPIESupported)
check_pie_supported()

add_library(qmt_hardening INTERFACE)
foreach(flag IN ITEMS -fstack-protector-strong -fstack-clash-protection -fcf-protection -ftrivial-auto-var-init=zero)
    string(MAKE_C_IDENTIFIER "HAVE${flag}" known)
    check_cxx_compiler_flag("-Werror ${flag}" ${known})
    if(${known})
        target_compile_options(qmt_hardening INTERFACE $<$<CONFIG:Release,RelWithDebInfo>:${flag}>)
    endif()
endforeach()
# The C library's headers reduce level 3 to 2 if the compiler does not support dynamic object sizes.
set(CMAKE_REQUIRED_FLAGS "-O2 -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3")
check_cxx_source_compiles("#include <features.h>\nstatic_assert(__USE_FORTIFY_LEVEL == 3);\nint main() {}" HAVE_FORTIFY_3)
unset(CMAKE_REQUIRED_FLAGS)
set(fortify $<IF:$<BOOL:${HAVE_FORTIFY_3}>,3,2>)
target_compile_options(qmt_hardening INTERFACE
    $<$<CONFIG:Release,RelWithDebInfo>:-U_FORTIFY_SOURCE>
    $<$<CONFIG:Release,RelWithDebInfo>:-D_FORTIFY_SOURCE=${fortify}>
    $<$<CONFIG:Release,RelWithDebInfo>:-D_GLIBCXX_ASSERTIONS>)
target_link_options(qmt_hardening INTERFACE -Wl,-z,relro -Wl,-z,now -Wl,--as-needed)
# The linker drops functions that are never called.
target_compile_options(qmt_hardening INTERFACE $<$<CONFIG:Release>:-ffunction-sections>)
target_link_options(qmt_hardening INTERFACE $<$<CONFIG:Release>:-Wl,--gc-sections>)

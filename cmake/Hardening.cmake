# What the finished program is hardened with. Debug and instrumented builds do without: fortified calls need an optimiser
# and get in the way of the sanitizers.
include(CheckCXXCompilerFlag)
include(CheckPIESupported)
check_pie_supported()

add_library(qmt_hardening INTERFACE)
foreach(flag IN ITEMS -fstack-protector-strong -fstack-clash-protection -fcf-protection)
    string(MAKE_C_IDENTIFIER "HAVE${flag}" known)
    check_cxx_compiler_flag("-Werror ${flag}" ${known})
    if(${known})
        target_compile_options(qmt_hardening INTERFACE $<$<CONFIG:Release,RelWithDebInfo>:${flag}>)
    endif()
endforeach()
target_compile_options(qmt_hardening INTERFACE
    $<$<CONFIG:Release,RelWithDebInfo>:-U_FORTIFY_SOURCE> $<$<CONFIG:Release,RelWithDebInfo>:-D_FORTIFY_SOURCE=2>)
target_link_options(qmt_hardening INTERFACE -Wl,-z,relro -Wl,-z,now -Wl,--as-needed)

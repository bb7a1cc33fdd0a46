# What distributions ask of programs that talk to a network, for the builds that people run.
if(QUORVEL_SANITIZE OR CMAKE_BUILD_TYPE STREQUAL "Debug")
    return()
endif()

include(CheckPIESupported)
check_pie_supported()
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3 -fstack-protector-strong)
add_link_options(-Wl,-z,relro,-z,now)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
    add_compile_options(-fstack-clash-protection -fcf-protection)
endif()

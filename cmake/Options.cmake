# Compiler options of all targets of this project.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

find_program(PELORIN_CCACHE ccache)
if(PELORIN_CCACHE)
    # By default ccache does not cache compilations with precompiled headers.
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env
        CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
        ${PELORIN_CCACHE})
    if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
        add_compile_options(-fpch-preprocess)
    endif()
endif()

# lld is three times as fast as the default linker.
find_program(PELORIN_LLD ld.lld)
if(PELORIN_LLD)
    add_link_options(-fuse-ld=lld)
endif()

add_library(pelorin_options INTERFACE)
target_compile_options(pelorin_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast
    -Wnon-virtual-dtor -Woverloaded-virtual)
if(PROJECT_IS_TOP_LEVEL)
    target_compile_options(pelorin_options INTERFACE -Werror)
endif()
target_compile_definitions(pelorin_options INTERFACE
    QT_NO_CAST_TO_ASCII QT_NO_CAST_FROM_BYTEARRAY QT_NO_URL_CAST_FROM_STRING QT_NO_KEYWORDS
    QT_DISABLE_DEPRECATED_BEFORE=0x060400)
target_link_options(pelorin_options INTERFACE -Wl,--as-needed)

# Hardening of what is staged; `quality.hardening` checks the result. The sanitizers have checks of
# their own, which FORTIFY would hide calls from.
add_compile_options(-fstack-protector-strong -fstack-clash-protection)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
    # The C library's start files are not marked for shadow stacks, so the linker has to be told.
    add_compile_options(-fcf-protection=full)
    add_link_options(-Wl,-z,shstk)
endif()
add_link_options(-Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
if(NOT PELORIN_SANITIZE)
    add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
endif()

if(PELORIN_SANITIZE)
    add_compile_options(-fsanitize=${PELORIN_SANITIZE} -fno-sanitize-recover=all
                        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${PELORIN_SANITIZE})
endif()

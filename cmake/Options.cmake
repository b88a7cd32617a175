# What every target of this project is compiled with.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

find_program(PELORIN_CCACHE ccache)
if(PELORIN_CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${PELORIN_CCACHE})
endif()

add_library(pelorin_options INTERFACE)
target_compile_options(pelorin_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast
    -Wnon-virtual-dtor -Woverloaded-virtual -Werror)
target_compile_definitions(pelorin_options INTERFACE
    QT_NO_CAST_TO_ASCII QT_NO_CAST_FROM_BYTEARRAY QT_NO_URL_CAST_FROM_STRING QT_NO_KEYWORDS
    QT_DISABLE_DEPRECATED_BEFORE=0x060400)
target_link_options(pelorin_options INTERFACE -Wl,--as-needed)

if(PELORIN_SANITIZE)
    add_compile_options(-fsanitize=${PELORIN_SANITIZE} -fno-sanitize-recover=all
                        -fno-omit-frame-pointer -g)
    add_link_options(-fsanitize=${PELORIN_SANITIZE})
endif()

# Options every target of the project links: language level, warnings, the generated version header.
add_library(ticksmith_options INTERFACE)
target_compile_options(ticksmith_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
                                                   -Wcast-align -Woverloaded-virtual)
if(TICKSMITH_WERROR)
    target_compile_options(ticksmith_options INTERFACE -Werror)
endif()
target_include_directories(ticksmith_options INTERFACE ${CMAKE_BINARY_DIR}/generated)
target_compile_definitions(ticksmith_options INTERFACE QT_NO_CAST_FROM_BYTEARRAY
                                                       QT_NO_NARROWING_CONVERSIONS_IN_CONNECT)

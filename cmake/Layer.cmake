# What all of the project's own code is compiled with.
add_library(zid_warnings INTERFACE)
target_compile_options(zid_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow
    $<$<BOOL:${ZIDBENCH_WERROR}>:-Werror>
    # Messages name files as they stand in the project, wherever it was built.
    -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)

# The same and the sanitizers, for all targets that these understand.
add_library(zid_settings INTERFACE)
target_link_libraries(zid_settings INTERFACE zid_warnings)
if(ZIDBENCH_SANITIZE)
    target_compile_options(zid_settings INTERFACE
        -fsanitize=${ZIDBENCH_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(zid_settings INTERFACE -fsanitize=${ZIDBENCH_SANITIZE})
endif()

# zid_layer(NAME INCLUDE DIR SOURCES ... USES ...): one folder as one library.
#
# Beside the library a program is linked that holds all of it and, beyond it, only what it declares to
# use: a call in the wrong direction has no definition there, so the build fails.
function(zid_layer name)
    cmake_parse_arguments(LAYER "" "INCLUDE" "SOURCES;USES" ${ARGN})
    add_library(${name} STATIC ${LAYER_SOURCES})
    target_include_directories(${name} PUBLIC ${LAYER_INCLUDE})
    target_link_libraries(${name} PUBLIC ${LAYER_USES} PRIVATE $<BUILD_INTERFACE:zid_settings>)

    add_executable(${name}_closed ${PROJECT_SOURCE_DIR}/cmake/closed.cpp)
    target_link_libraries(${name}_closed PRIVATE
        zid_settings -Wl,--whole-archive $<TARGET_FILE:${name}> -Wl,--no-whole-archive ${LAYER_USES})
    add_dependencies(${name}_closed ${name})
    set_target_properties(${name}_closed PROPERTIES LINK_DEPENDS $<TARGET_FILE:${name}>)
endfunction()

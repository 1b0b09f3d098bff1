# zid_idl_type(NAME FILE): the types of an IDL file as one library.
#
# What the engine's tools generate is theirs: it is built without the project's warnings and included as a system's.
function(zid_idl_type name file)
    idlc_generate(TARGET ${name}_sources FILES ${file})
    add_library(${name} STATIC)
    target_link_libraries(${name} PUBLIC CycloneDDS::ddsc PRIVATE ${name}_sources)
    target_include_directories(${name} SYSTEM PUBLIC ${CMAKE_CURRENT_BINARY_DIR})
endfunction()

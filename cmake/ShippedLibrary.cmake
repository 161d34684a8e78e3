# A DLL that hosts load: its exports from TARGET.def beside the listed sources, its version as a resource, the folders where its
# imports are searched, what every such library needs of the C++ runtime, and no path of the build machine.
#   shipped_library(TARGET DESCRIPTION SOURCE...)
function(shipped_library target description)
    set(resource "${CMAKE_CURRENT_BINARY_DIR}/${target}.rc")
    configure_file("${PROJECT_SOURCE_DIR}/cmake/version.rc.in" "${resource}" @ONLY)
    # From the build folder, because the PDB keeps the linker's command line, and the file keeps a hash of the PDB.
    set(exports "${CMAKE_CURRENT_BINARY_DIR}/${target}.def")
    configure_file(${target}.def "${exports}" COPYONLY)

    add_library(${target} SHARED ${ARGN} "${exports}" "${resource}")
    set_target_properties(${target} PROPERTIES PREFIX "" LINKER_LANGUAGE CXX)
    if(MSVC)
        target_link_options(${target} PRIVATE /DEPENDENTLOADFLAG:0x1100)
    else()
        target_sources(${target} PRIVATE "${PROJECT_SOURCE_DIR}/cmake/DependentLoadFlags.c")
    endif()
    target_link_libraries(${target} PRIVATE shipped-runtime)
    if(MINGW)
        # The other debugging format, which mingw's own libraries bring along: no use to Windows, and full of paths.
        add_custom_command(TARGET ${target} POST_BUILD COMMAND ${CMAKE_OBJCOPY} --strip-debug "$<TARGET_FILE:${target}>" VERBATIM)
    endif()
endfunction()

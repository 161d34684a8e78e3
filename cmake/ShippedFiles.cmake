# The files that are released: each with its version as a resource and without a path of the build machine.
file(STRINGS "${PROJECT_SOURCE_DIR}/LICENSE" HW_INVENTORY_COPYRIGHT REGEX "^Copyright" LIMIT_COUNT 1)
string(REGEX REPLACE "^Copyright \\(c\\) [0-9-]+ " "" HW_INVENTORY_HOLDER "${HW_INVENTORY_COPYRIGHT}")

#   shipped_file(TARGET DESCRIPTION FILE_NAME FILETYPE)      FILETYPE as in VERSIONINFO: 1 a program, 2 a library
# The variable version_strings may hold further statements for the strings of the resource.
function(shipped_file target description file_name file_type)
    set(resource "${CMAKE_CURRENT_BINARY_DIR}/${target}.rc")
    configure_file("${PROJECT_SOURCE_DIR}/cmake/version.rc.in" "${resource}" @ONLY)
    target_sources(${target} PRIVATE "${resource}")
    if(MINGW)
        # The other debugging format, which mingw's own libraries bring along: no use to Windows, and full of paths.
        add_custom_command(TARGET ${target} POST_BUILD COMMAND ${CMAKE_OBJCOPY} --strip-debug "$<TARGET_FILE:${target}>" VERBATIM)
    endif()
endfunction()

# A program of the release. Elsewhere than for Windows it is an ordinary program.
#   shipped_program(TARGET DESCRIPTION SOURCE...)
function(shipped_program target description)
    add_executable(${target} ${ARGN})
    if(WIN32)
        shipped_file(${target} "${description}" ${target}.exe 1)
    endif()
endfunction()

# A DLL that hosts load: its exports from TARGET.def beside the listed sources, the folders where its imports are searched, and
# what every such library needs of the C++ runtime.
#   shipped_library(TARGET DESCRIPTION SOURCE...)
function(shipped_library target description)
    # From the build folder, because the PDB keeps the linker's command line, and the file keeps a hash of the PDB.
    set(exports "${CMAKE_CURRENT_BINARY_DIR}/${target}.def")
    configure_file(${target}.def "${exports}" COPYONLY)

    add_library(${target} SHARED ${ARGN} "${exports}")
    set_target_properties(${target} PROPERTIES PREFIX "" LINKER_LANGUAGE CXX)
    shipped_file(${target} "${description}" ${target}.dll 2)
    if(MSVC)
        target_link_options(${target} PRIVATE /DEPENDENTLOADFLAG:0x1100)
    else()
        target_sources(${target} PRIVATE "${PROJECT_SOURCE_DIR}/cmake/DependentLoadFlags.c")
    endif()
    target_link_libraries(${target} PRIVATE shipped-runtime)
endfunction()

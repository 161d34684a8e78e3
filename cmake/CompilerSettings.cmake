# What every target of the project is compiled with.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 99)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_MSVC_RUNTIME_LIBRARY "MultiThreaded$<$<CONFIG:Debug>:Debug>")
if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE RelWithDebInfo)
endif()

# Interface library that the project's own targets link; third-party code keeps its own warnings.
add_library(project_settings INTERFACE)
target_include_directories(project_settings INTERFACE "${CMAKE_SOURCE_DIR}")

if(MSVC)
    target_compile_options(project_settings INTERFACE /W4 /WX /utf-8 /guard:cf)
else()
    target_compile_options(project_settings INTERFACE -Wall -Wextra -Werror
        "-ffile-prefix-map=${CMAKE_SOURCE_DIR}/=" "-ffile-prefix-map=${CMAKE_BINARY_DIR}/=")
endif()

if(WIN32)
    target_compile_definitions(project_settings INTERFACE UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX
        _WIN32_WINNT=0x0A00 WINVER=0x0A00)
endif()

if(MINGW)
    # CodeView and a PDB beside each binary, so that the system's symbol engine resolves names and lines.
    add_compile_options(-g -gcodeview -fstack-protector-strong)
    add_link_options(-Wl,--pdb= -Wl,--high-entropy-va -Wl,--dynamicbase -Wl,--nxcompat -Wl,-Xlink=-cetcompat)
    # Without the functions that nobody calls: two fifths of what the linked libraries bring.
    add_link_options(-Wl,--gc-sections)
    # The same bytes from the same sources: no time stamp, no build folder, no command line.
    add_compile_options(-gno-codeview-command-line -fdebug-compilation-dir=.)
    add_link_options(-Wl,--no-insert-timestamp -Wl,-Xlink=-pdbaltpath:%_PDB% -Wl,-Xlink=-pdbsourcepath:/)
    link_libraries(-lpthread -lssp)
endif()

if(HW_INVENTORY_SANITIZE)
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
endif()
if(HW_INVENTORY_FUZZ)
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# What every target of the project is compiled with.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 99)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_MSVC_RUNTIME_LIBRARY "MultiThreaded$<$<CONFIG:Debug>:Debug>")
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE RelWithDebInfo)
endif()

# How code is generated, googletest's as well as our own.
add_library(inventory-codegen INTERFACE)

# Interface library that the project's own targets link; third-party code keeps its own warnings.
add_library(inventory-settings INTERFACE)
target_link_libraries(inventory-settings INTERFACE inventory-codegen)
target_include_directories(inventory-settings INTERFACE "${PROJECT_SOURCE_DIR}")

if(MSVC)
    target_compile_options(inventory-settings INTERFACE /W4 $<$<BOOL:${HW_INVENTORY_WERROR}>:/WX> /utf-8 /guard:cf)
else()
    target_compile_options(inventory-settings INTERFACE -Wall -Wextra $<$<COMPILE_LANGUAGE:CXX>:-Wpedantic> $<$<BOOL:${HW_INVENTORY_WERROR}>:-Werror>
        "-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=" "-ffile-prefix-map=${PROJECT_BINARY_DIR}/=")
endif()

if(WIN32)
    target_compile_definitions(inventory-settings INTERFACE UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX
        _WIN32_WINNT=0x0A00 WINVER=0x0A00)
endif()

if(MINGW)
    target_compile_options(inventory-codegen INTERFACE
        # CodeView and a PDB beside each binary, so that dbghelp resolves names and lines.
        -g -gcodeview -fstack-protector-strong
        # The same bytes from the same sources: no build folder, no command line.
        -gno-codeview-command-line -fdebug-compilation-dir=.)
    target_link_options(inventory-codegen INTERFACE
        -Wl,--pdb= -Wl,--high-entropy-va -Wl,--dynamicbase -Wl,--nxcompat -Wl,-Xlink=-cetcompat
        # Drops unreferenced functions, about 40 % of the static libraries.
        -Wl,--gc-sections
        # No time stamp and no build folder either.
        -Wl,--no-insert-timestamp -Wl,-Xlink=-pdbaltpath:%_PDB% -Wl,-Xlink=-pdbsourcepath:/)
    target_link_libraries(inventory-codegen INTERFACE -lpthread -lssp)
endif()

if(HW_INVENTORY_SANITIZE)
    target_compile_options(inventory-codegen INTERFACE
        -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer -UNDEBUG -D_GLIBCXX_ASSERTIONS)
    target_link_options(inventory-codegen INTERFACE -fsanitize=address,undefined)
endif()
if(HW_INVENTORY_FUZZ)
    target_compile_options(inventory-codegen INTERFACE -fsanitize=fuzzer-no-link)
endif()

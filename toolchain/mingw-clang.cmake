# Cross compilation for 64-bit Windows: clang and lld on the headers and libraries of Debian's mingw-w64 (posix threads).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(triple x86_64-w64-mingw32)
set(gcc_libraries /usr/lib/gcc/${triple}/12-posix)

set(CMAKE_C_COMPILER clang-16)
set(CMAKE_C_COMPILER_TARGET ${triple})
set(CMAKE_CXX_COMPILER clang++-16)
set(CMAKE_CXX_COMPILER_TARGET ${triple})
set(CMAKE_ASM_COMPILER clang-16)
set(CMAKE_ASM_COMPILER_TARGET ${triple})
set(CMAKE_RC_COMPILER ${triple}-windres)
set(CMAKE_AR llvm-ar-16)
set(CMAKE_RANLIB llvm-ranlib-16)
set(CMAKE_OBJCOPY llvm-objcopy-16)
set(CMAKE_DLLTOOL llvm-dlltool-16)

# The posix variant is named in full: clang would take whichever of Debian's two it finds first.
set(cxx_headers ${gcc_libraries}/include/c++)
string(APPEND CMAKE_CXX_FLAGS_INIT
    " -nostdinc++ -isystem ${cxx_headers} -isystem ${cxx_headers}/${triple} -isystem ${cxx_headers}/backward")
string(APPEND CMAKE_C_FLAGS_INIT " --sysroot=/usr/${triple}")
string(APPEND CMAKE_CXX_FLAGS_INIT " --sysroot=/usr/${triple}")
execute_process(COMMAND "${CMAKE_CURRENT_LIST_DIR}/libstdcxx.sh" ${gcc_libraries}
    OUTPUT_VARIABLE cxx_library OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
# Ninja links in the build folder: PDBs name this link and not the builder's home.
if(CMAKE_GENERATOR MATCHES Ninja)
    file(CREATE_LINK "${cxx_library}" "${CMAKE_BINARY_DIR}/libstdcxx" SYMBOLIC)
    set(cxx_library libstdcxx)
endif()
foreach(kind EXE SHARED MODULE)
    set(CMAKE_${kind}_LINKER_FLAGS_INIT "-fuse-ld=lld-16 -static -L${cxx_library} -L${gcc_libraries} -Wno-unused-command-line-argument")
endforeach()

set(CMAKE_FIND_ROOT_PATH /usr/${triple})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)
set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/wine.sh;${CMAKE_BINARY_DIR}/wine")

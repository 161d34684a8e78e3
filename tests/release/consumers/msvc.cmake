# Visual Studio's object files and linker, by LLVM, without Microsoft's SDK: no start-up code, and of the C library an import library
# with the one function that the consumer calls.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR AMD64)
set(CMAKE_LINKER lld-link-16)
set(CMAKE_MT llvm-mt-16)
set(CMAKE_RC_COMPILER llvm-rc-16)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
set(CMAKE_MSVC_RUNTIME_LIBRARY "")

set(c_library "${CMAKE_BINARY_DIR}/msvcrt")
file(WRITE "${c_library}.def" "EXPORTS\nputs\n")
execute_process(COMMAND llvm-dlltool-16 -m i386:x86-64 -D msvcrt.dll -d "${c_library}.def" -l "${c_library}.lib"
    COMMAND_ERROR_IS_FATAL ANY)
set(CMAKE_EXE_LINKER_FLAGS_INIT "-fuse-ld=lld-link-16 -nostdlib -Xlinker /entry:main")
foreach(language C CXX)
    set(CMAKE_${language}_COMPILER clang-16)
    set(CMAKE_${language}_COMPILER_TARGET x86_64-pc-windows-msvc)
    set(CMAKE_${language}_COMPILER_WORKS TRUE)
    set(CMAKE_${language}_FLAGS_INIT -ffreestanding)
    set(CMAKE_${language}_STANDARD_LIBRARIES "${c_library}.lib" CACHE STRING "In place of Microsoft's")
endforeach()

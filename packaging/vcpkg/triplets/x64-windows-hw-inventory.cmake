# The library is a DLL that needs no other: everything that it links, the C++ runtime included, is in it.
set(VCPKG_TARGET_ARCHITECTURE x64)
set(VCPKG_CRT_LINKAGE static)
set(VCPKG_LIBRARY_LINKAGE static)
if(PORT STREQUAL "hw-inventory-interface")
    set(VCPKG_LIBRARY_LINKAGE dynamic)
endif()

# cmake -DINPUT=pci.ids -DOUTPUT=FILE -P NormalizePciIds.cmake
# Writes the list with CR LF line ends and states which version and how many bytes will be embedded.
file(READ "${INPUT}" text)
string(REPLACE "\r\n" "\n" text "${text}")
string(REGEX MATCH "Version: ([0-9.]+)" unused "${text}")
set(version "${CMAKE_MATCH_1}")
# On Windows CMake writes text with such line ends by itself.
if(NOT CMAKE_HOST_WIN32)
    string(REPLACE "\n" "\r\n" text "${text}")
endif()
file(WRITE "${OUTPUT}" "${text}")
file(SIZE "${OUTPUT}" size)
message(STATUS "embedding the PCI ID list of ${version}, ${size} bytes")

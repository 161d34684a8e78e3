# cmake -DOUTPUT=FILE -DHEADER=HEADER -DARRAY=NAME -P EmbedFiles.cmake -- FILE...
# Writes a C++ source with the bytes of the files as an array of EmbeddedFile, which the header declares. No compiler's limit for
# string literals holds for it.
set(entries "")
math(EXPR last "${CMAKE_ARGC} - 1")
set(text "#include \"${HEADER}\"\n\nnamespace HardwareInventory\n{\nnamespace\n{\n")
set(number 0)
foreach(index RANGE 7 ${last})
    file(READ "${CMAKE_ARGV${index}}" bytes HEX)
    string(REGEX REPLACE "(................................................)" "\\1\n" bytes "${bytes}")
    string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
    string(APPEND text "constexpr unsigned char file${number}[] = {\n${bytes}};\n")
    string(APPEND entries "    {file${number}, sizeof(file${number})},\n")
    math(EXPR number "${number} + 1")
endforeach()
string(APPEND text "}\n\nconst EmbeddedFile ${ARRAY}[${number}] = {\n${entries}};\n}\n")
file(WRITE "${OUTPUT}" "${text}")

# The PCI ID list that the library carries: any pci.ids file, brought to CR LF line ends at build time and embedded as it is.
set(HW_INVENTORY_PCI_IDS "/usr/share/misc/pci.ids" CACHE FILEPATH "The PCI ID list to embed")
if(NOT EXISTS "${HW_INVENTORY_PCI_IDS}")
    message(FATAL_ERROR "No PCI ID list at ${HW_INVENTORY_PCI_IDS}: name one with -DHW_INVENTORY_PCI_IDS=FILE")
endif()

# Its version, empty if it names none.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${HW_INVENTORY_PCI_IDS}")
file(STRINGS "${HW_INVENTORY_PCI_IDS}" pci_ids_version REGEX "^#[ \t]*Version: *[0-9.]+" LIMIT_COUNT 1)
string(REGEX REPLACE ".*: *([0-9.]+).*" "\\1" pci_ids_version "${pci_ids_version}")

set(pci_ids_text "${PROJECT_BINARY_DIR}/pci.ids.crlf")
set(pci_ids_assembly "${PROJECT_SOURCE_DIR}/hw-inventory-impl/lib/PCI/BuiltInList.S")
add_custom_command(OUTPUT "${pci_ids_text}"
    COMMAND "${CMAKE_COMMAND}" "-DINPUT=${HW_INVENTORY_PCI_IDS}" "-DOUTPUT=${pci_ids_text}"
        -P "${PROJECT_SOURCE_DIR}/cmake/NormalizePciIds.cmake"
    DEPENDS "${HW_INVENTORY_PCI_IDS}" "${PROJECT_SOURCE_DIR}/cmake/NormalizePciIds.cmake"
    VERBATIM)

# Visual Studio's own assembler has no .incbin; the clang that comes with it assembles the same file.
if(MSVC)
    find_program(HW_INVENTORY_CLANG NAMES clang clang-cl REQUIRED)
    set(pci_id_list_object "${PROJECT_BINARY_DIR}/BuiltInList.obj")
    add_custom_command(OUTPUT "${pci_id_list_object}"
        COMMAND "${HW_INVENTORY_CLANG}" --target=x86_64-pc-windows-msvc -c "${pci_ids_assembly}" "-I${PROJECT_BINARY_DIR}"
            -o "${pci_id_list_object}"
        DEPENDS "${pci_ids_assembly}" "${pci_ids_text}" VERBATIM)
    add_custom_target(embedded-pci-ids-object DEPENDS "${pci_id_list_object}")
    add_library(embedded-pci-ids INTERFACE)
    target_link_libraries(embedded-pci-ids INTERFACE "${pci_id_list_object}")
    add_dependencies(embedded-pci-ids embedded-pci-ids-object)
else()
    enable_language(ASM)
    add_library(embedded-pci-ids OBJECT "${pci_ids_assembly}")
    target_include_directories(embedded-pci-ids PRIVATE "${PROJECT_BINARY_DIR}")
    # Its debugging information would be the path of the source folder and nothing else.
    target_compile_options(embedded-pci-ids PRIVATE -g0)
    set_source_files_properties("${pci_ids_assembly}" PROPERTIES OBJECT_DEPENDS "${pci_ids_text}")
endif()

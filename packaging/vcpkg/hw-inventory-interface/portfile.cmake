# The sources are those of the checkout that this overlay port lies in.
get_filename_component(SOURCE_PATH "${CMAKE_CURRENT_LIST_DIR}/../../.." ABSOLUTE)
if(NOT EXISTS "${CMAKE_CURRENT_LIST_DIR}/pci.ids")
    message(FATAL_ERROR "The library embeds a PCI ID list: put one as pci.ids into ${CMAKE_CURRENT_LIST_DIR}")
endif()

vcpkg_check_linkage(ONLY_DYNAMIC_LIBRARY)
vcpkg_check_features(OUT_FEATURE_OPTIONS FEATURE_OPTIONS FEATURES tools HW_INVENTORY_TOOLS)
vcpkg_cmake_configure(
    SOURCE_PATH "${SOURCE_PATH}"
    OPTIONS
        ${FEATURE_OPTIONS}
        -DHW_INVENTORY_TESTS=OFF
        "-DHW_INVENTORY_PCI_IDS=${CMAKE_CURRENT_LIST_DIR}/pci.ids")
vcpkg_cmake_install()
vcpkg_copy_pdbs()
vcpkg_cmake_config_fixup(PACKAGE_NAME hw_inventory CONFIG_PATH lib/cmake/hw_inventory)
vcpkg_fixup_pkgconfig()
if("tools" IN_LIST FEATURES)
    vcpkg_copy_tools(TOOL_NAMES hw-inventory hw-machine AUTO_CLEAN)
endif()
file(REMOVE_RECURSE "${CURRENT_PACKAGES_DIR}/debug/include" "${CURRENT_PACKAGES_DIR}/debug/share")

# A release has its pages in its root, a port has them in its own folder.
foreach(build "" debug/)
    foreach(page README.md CHANGELOG.md SECURITY.md LICENSE THIRD-PARTY-NOTICES)
        file(REMOVE "${CURRENT_PACKAGES_DIR}/${build}${page}")
    endforeach()
endforeach()
file(MAKE_DIRECTORY "${CURRENT_PACKAGES_DIR}/share/${PORT}")
foreach(folder bindings docs fleet schemas)
    file(REMOVE_RECURSE "${CURRENT_PACKAGES_DIR}/debug/${folder}")
    file(RENAME "${CURRENT_PACKAGES_DIR}/${folder}" "${CURRENT_PACKAGES_DIR}/share/${PORT}/${folder}")
endforeach()

vcpkg_install_copyright(FILE_LIST "${SOURCE_PATH}/LICENSE" "${SOURCE_PATH}/THIRD-PARTY-NOTICES")
file(INSTALL "${CMAKE_CURRENT_LIST_DIR}/usage" DESTINATION "${CURRENT_PACKAGES_DIR}/share/${PORT}")

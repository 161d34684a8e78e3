# What `cmake --install` puts where, by component:
#   runtime       the libraries and programs, with the licences that go with them
#   development   headers, import libraries for mingw and Visual Studio, the CMake package, the pkg-config file, other languages
#   symbols       the PDBs, beside the files that they belong to
#   docs          documents and JSON Schemas
include(CMakePackageConfigHelpers)
set(components runtime development symbols docs)
set(package_folder lib/cmake/hw_inventory)

set(shipped hw_inventory_interface vm_detect)
if(TARGET hw-inventory)
    list(APPEND shipped hw-inventory hw-machine)
endif()
install(TARGETS ${shipped} RUNTIME DESTINATION bin COMPONENT runtime)
install(FILES LICENSE THIRD-PARTY-NOTICES DESTINATION . COMPONENT runtime)

# CMake's own message about a file that is not there names no remedy. Text after a space stays on one line.
foreach(target IN LISTS shipped)
    set(symbols "$<TARGET_FILE_DIR:${target}>/$<TARGET_FILE_BASE_NAME:${target}>.pdb")
    install(CODE "if(NOT EXISTS \"${symbols}\")
        message(FATAL_ERROR \" No symbols at ${symbols}: build ${target} with debugging information\")
    endif()" COMPONENT symbols)
    install(FILES "${symbols}" DESTINATION bin COMPONENT symbols)
endforeach()

set(import_libraries "$<TARGET_LINKER_FILE:hw_inventory_interface>")
if(MINGW)
    list(APPEND import_libraries "${PROJECT_BINARY_DIR}/hw-inventory-interface/hw_inventory_interface.lib")
endif()
install(FILES ${import_libraries} DESTINATION lib COMPONENT development)
install(FILES hw-inventory-interface/include/hw_inventory_interface.h
    "${PROJECT_BINARY_DIR}/hw-inventory-interface/include/hw_inventory_version.h"
    bindings/cpp/hw_inventory.hpp DESTINATION include COMPONENT development)
foreach(language cpp csharp go node python rust standin)
    install(DIRECTORY bindings/${language} DESTINATION bindings COMPONENT development
        PATTERN "*.hpp" EXCLUDE PATTERN CMakeLists.txt EXCLUDE)
endforeach()

set(package "${PROJECT_BINARY_DIR}/package")
configure_package_config_file(cmake/hw_inventory-config.cmake.in "${package}/hw_inventory-config.cmake"
    INSTALL_DESTINATION ${package_folder} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file("${package}/hw_inventory-config-version.cmake" COMPATIBILITY SameMajorVersion)
install(FILES "${package}/hw_inventory-config.cmake" "${package}/hw_inventory-config-version.cmake"
    DESTINATION ${package_folder} COMPONENT development)
configure_file(cmake/hw_inventory.pc.in "${package}/hw_inventory.pc" @ONLY)
install(FILES "${package}/hw_inventory.pc" DESTINATION lib/pkgconfig COMPONENT development)

install(FILES README.md CHANGELOG.md SECURITY.md DESTINATION . COMPONENT docs)
install(DIRECTORY docs/ DESTINATION docs COMPONENT docs FILES_MATCHING PATTERN "*.md" PATTERN "*.png")
install(DIRECTORY fleet DESTINATION . COMPONENT docs USE_SOURCE_PERMISSIONS PATTERN __pycache__ EXCLUDE)
install(DIRECTORY schemas/ DESTINATION schemas COMPONENT docs FILES_MATCHING PATTERN "*.json")

# CMake installs nothing for a component that does not exist, and succeeds. A parent project has components of its own.
if(PROJECT_IS_TOP_LEVEL)
    list(JOIN components "|" names)
    install(CODE "if(CMAKE_INSTALL_COMPONENT AND NOT CMAKE_INSTALL_COMPONENT MATCHES \"^(${names})$\")
        message(FATAL_ERROR \" No component \${CMAKE_INSTALL_COMPONENT}: there are ${names}\")
    endif()" ALL_COMPONENTS)
endif()

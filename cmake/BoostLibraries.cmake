# Boost 1.81 from the prefix HW_INVENTORY_BOOST, where none is named built by toolchain/boost.sh.
if(NOT HW_INVENTORY_BOOST)
    if(WIN32)
        set(boost_target mingw)
    else()
        set(boost_target native)
    endif()
    execute_process(COMMAND "${PROJECT_SOURCE_DIR}/toolchain/boost.sh" ${boost_target}
        OUTPUT_VARIABLE boost_prefix OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    set(HW_INVENTORY_BOOST "${boost_prefix}" CACHE PATH "Install prefix of Boost 1.81")
endif()

# Through a link, so that PDBs name a place in the build folder, which is cut off, and not the builder's home.
set(boost_link "${PROJECT_BINARY_DIR}/dependencies/boost")
file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/dependencies")
file(CREATE_LINK "${HW_INVENTORY_BOOST}" "${boost_link}" SYMBOLIC)

# Declared here: the hundred package files that Boost installs take every configuration half a minute.
file(GLOB boost_include "${boost_link}/include/boost-*")
if(NOT boost_include)
    set(boost_include "${boost_link}/include")
endif()
add_library(Boost::headers INTERFACE IMPORTED)
target_include_directories(Boost::headers SYSTEM INTERFACE "${boost_include}")
target_compile_definitions(Boost::headers INTERFACE BOOST_ALL_NO_LIB)
foreach(library atomic chrono date_time filesystem log thread)
    file(GLOB archive "${boost_link}/lib/libboost_${library}.a" "${boost_link}/lib/libboost_${library}-*.a")
    string(TOUPPER ${library} macro)
    add_library(Boost::${library} STATIC IMPORTED)
    set_target_properties(Boost::${library} PROPERTIES IMPORTED_LOCATION "${archive}")
    target_compile_definitions(Boost::${library} INTERFACE BOOST_${macro}_STATIC_LINK)
    target_link_libraries(Boost::${library} INTERFACE Boost::headers)
endforeach()
target_compile_definitions(Boost::thread INTERFACE BOOST_THREAD_USE_LIB)
target_link_libraries(Boost::thread INTERFACE Boost::chrono Boost::atomic)
target_link_libraries(Boost::filesystem INTERFACE Boost::atomic)
target_link_libraries(Boost::log INTERFACE Boost::thread Boost::filesystem)
if(WIN32)
    target_link_libraries(Boost::filesystem INTERFACE bcrypt)
    # Boost.Log alone waits on addresses, for which Windows 8 is needed. libsynchronization also offers, from that same library
    # of Windows 8, what every Windows has in kernel32: whatever links it without need would not load on Windows 7.
    target_link_libraries(Boost::log INTERFACE secur32 ws2_32 mswsock advapi32 kernel32 synchronization)
endif()

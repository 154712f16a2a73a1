# Installs liblomix, its header, its CMake package and its pkg-config file. All of them find each other
# by relative paths, so that the installed folder can be moved. Components: library is what programs need
# to run, development what their authors need beside it.
include(CMakePackageConfigHelpers)
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/Lomix)

install(TARGETS lomix_shared lomix_static EXPORT LomixTargets
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT library
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/lomix/lomix.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/lomix COMPONENT development)
install(EXPORT LomixTargets NAMESPACE Lomix:: DESTINATION ${package_folder} COMPONENT development)

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/LomixConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/cmake/LomixConfig.cmake
                              INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/cmake/LomixConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/cmake/LomixConfig.cmake
              ${PROJECT_BINARY_DIR}/cmake/LomixConfigVersion.cmake
        DESTINATION ${package_folder} COMPONENT development)

# The pkg-config file computes its prefix from its own place, unless the folders are absolute.
set(pkgconfig_folder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}" OR IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
  set(LOMIX_PC_PREFIX ${CMAKE_INSTALL_PREFIX})
  set(LOMIX_PC_LIBDIR ${CMAKE_INSTALL_FULL_LIBDIR})
  set(LOMIX_PC_INCLUDEDIR ${CMAKE_INSTALL_FULL_INCLUDEDIR})
else()
  file(RELATIVE_PATH up /${pkgconfig_folder} /)
  string(REGEX REPLACE "/$" "" up ${up})
  set(LOMIX_PC_PREFIX \${pcfiledir}/${up})
  set(LOMIX_PC_LIBDIR \${prefix}/${CMAKE_INSTALL_LIBDIR})
  set(LOMIX_PC_INCLUDEDIR \${prefix}/${CMAKE_INSTALL_INCLUDEDIR})
endif()
# A C compiler that links the static library has to name the C++ runtime.
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang" AND APPLE)
  set(LOMIX_PC_RUNTIME -lc++)
else()
  set(LOMIX_PC_RUNTIME "-lstdc++ -lm")
endif()
if(CMAKE_THREAD_LIBS_INIT)
  string(APPEND LOMIX_PC_RUNTIME " ${CMAKE_THREAD_LIBS_INIT}")
endif()
configure_file(${PROJECT_SOURCE_DIR}/cmake/lomix.pc.in ${PROJECT_BINARY_DIR}/cmake/lomix.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/cmake/lomix.pc DESTINATION ${pkgconfig_folder}
        COMPONENT development)

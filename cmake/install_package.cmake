# What `cmake --install` puts in place: the shared libraries, the public headers, aaa_client.pc for
# pkg-config and a package for find_package(aaa_client).
include(CMakePackageConfigHelpers)

set(AAA_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/aaa_client)

# Named from the library's own directory; absolute, they can be installed from here.
get_target_property(AAA_PUBLIC_HEADERS aaa_client PUBLIC_HEADER)
get_target_property(AAA_CLIENT_DIR aaa_client SOURCE_DIR)
list(TRANSFORM AAA_PUBLIC_HEADERS PREPEND ${AAA_CLIENT_DIR}/)
set_target_properties(aaa_client PROPERTIES PUBLIC_HEADER "${AAA_PUBLIC_HEADERS}")

set(AAA_INSTALLED_LIBRARIES aaa_client)
if(TARGET platform_host)
  get_property(AAA_EVENT_LOOPS GLOBAL PROPERTY AAA_EVENT_LOOPS)
  list(APPEND AAA_INSTALLED_LIBRARIES platform_host ${AAA_EVENT_LOOPS})
  # The library finds its neighbour wherever the two are moved.
  set_target_properties(aaa_client PROPERTIES INSTALL_RPATH $ORIGIN)
endif()

install(TARGETS ${AAA_INSTALLED_LIBRARIES} EXPORT aaa_clientTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  PUBLIC_HEADER DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT aaa_clientTargets NAMESPACE aaa_client:: DESTINATION ${AAA_CMAKE_DIR})

configure_package_config_file(
  ${CMAKE_CURRENT_LIST_DIR}/aaa_clientConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/aaa_clientConfig.cmake
  INSTALL_DESTINATION ${AAA_CMAKE_DIR})
write_basic_package_version_file(
  ${CMAKE_CURRENT_BINARY_DIR}/aaa_clientConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES
  ${CMAKE_CURRENT_BINARY_DIR}/aaa_clientConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/aaa_clientConfigVersion.cmake
  DESTINATION ${AAA_CMAKE_DIR})

# pkg-config knows where it found the file: the prefix is as many levels up as the file lies deep.
string(REGEX REPLACE "[^/]+" ".." AAA_UP_TO_PREFIX ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
configure_file(
  ${CMAKE_CURRENT_LIST_DIR}/aaa_client.pc.in ${CMAKE_CURRENT_BINARY_DIR}/aaa_client.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/aaa_client.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

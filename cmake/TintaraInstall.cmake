# Install rules: the public header, the versioned shared library with its soname links, a
# pkg-config file and a CMake package, where a Debian system looks for them; and the tintara host.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(TINTARA_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/Tintara CACHE STRING
    "Where the CMake package files of the library go")

install(TARGETS tintara EXPORT TintaraTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/tintara.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  COMPONENT development)
if(TARGET tintara_host)
  # The installed host finds the library beside it, wherever the tree is put.
  file(RELATIVE_PATH _tintara_bin_to_lib /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
  set_target_properties(tintara_host PROPERTIES INSTALL_RPATH "$ORIGIN/${_tintara_bin_to_lib}")
  install(TARGETS tintara_host RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
endif()

install(EXPORT TintaraTargets NAMESPACE Tintara:: DESTINATION ${TINTARA_INSTALL_CMAKEDIR}
  COMPONENT development)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/install/TintaraConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/TintaraConfig.cmake INSTALL_DESTINATION ${TINTARA_INSTALL_CMAKEDIR})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/TintaraConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/TintaraConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/TintaraConfigVersion.cmake
  DESTINATION ${TINTARA_INSTALL_CMAKEDIR} COMPONENT development)

# pkg-config paths relative to the file, so that an installed tree may be moved.
file(RELATIVE_PATH _tintara_pc_to_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(${CMAKE_CURRENT_LIST_DIR}/install/tintara.pc.in ${CMAKE_CURRENT_BINARY_DIR}/tintara.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/tintara.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT development)

# A tiny host built against a tree installed into a temporary prefix, through both ways.
if(TINTARA_BUILD_TESTS)
  # A sanitized library needs its runtime in the consumer too.
  set(_tintara_consumer_flags "")
  if(TINTARA_SANITIZE)
    set(_tintara_consumer_flags "-fsanitize=address,undefined")
  elseif(TINTARA_SANITIZE_THREAD)
    set(_tintara_consumer_flags "-fsanitize=thread")
  endif()
  add_test(NAME tintara_install
    COMMAND ${CMAKE_COMMAND} -DBUILD_DIR=${PROJECT_BINARY_DIR} -DSOURCE_DIR=${CMAKE_CURRENT_LIST_DIR}/install
            -DWORK_DIR=${CMAKE_CURRENT_BINARY_DIR}/install-test -DLIBDIR=${CMAKE_INSTALL_LIBDIR}
            "-DCONSUMER_FLAGS=${_tintara_consumer_flags}"
            -P ${CMAKE_CURRENT_LIST_DIR}/install/CheckInstall.cmake)
endif()

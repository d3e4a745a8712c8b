# What `cmake --install` lays down: both variants with the core library, headers, the CMake package, the pkg-config
# file, examples, licence and documentation. Everything finds everything else by relative paths, so the tree may be
# moved. Below, the same as Debian packages.
include(CMakePackageConfigHelpers)

set(RVPCV_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/rvpcv)
set(RVPCV_PKGCONFIGDIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The names that other projects link with. The build tree bears them too, so that a project which takes this one as a
# subdirectory sees the same as one that found it installed.
add_library(rvpcv::rvpcv ALIAS rvpcv_n8)
add_library(rvpcv::rvpcore ALIAS rvpcore)
set_target_properties(rvpcv_n8 PROPERTIES EXPORT_NAME rvpcv)

# All that is installed, and nothing else.
add_custom_target(rvpcv DEPENDS rvpcore rvpcv_n8 rvpcv_v3)

install(
  TARGETS rvpcore rvpcv_n8
  EXPORT rvpcvTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
          COMPONENT runtime
          NAMELINK_COMPONENT development)
# Nobody links with this one: the loader takes it in place of the other.
install(
  TARGETS rvpcv_v3
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/${RVPCV_SUBDIR_v3}
          COMPONENT runtime
          NAMELINK_SKIP)

install(
  DIRECTORY ${PROJECT_SOURCE_DIR}/include/
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  COMPONENT development
  FILES_MATCHING
  PATTERN "*.h")

install(
  EXPORT rvpcvTargets
  NAMESPACE rvpcv::
  DESTINATION ${RVPCV_CMAKEDIR}
  COMPONENT development)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/rvpcvConfig.cmake.in ${PROJECT_BINARY_DIR}/rvpcvConfig.cmake
                              INSTALL_DESTINATION ${RVPCV_CMAKEDIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/rvpcvConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(
  FILES ${PROJECT_BINARY_DIR}/rvpcvConfig.cmake ${PROJECT_BINARY_DIR}/rvpcvConfigVersion.cmake
  DESTINATION ${RVPCV_CMAKEDIR}
  COMPONENT development)

# The way from the .pc file's folder up to the prefix.
file(RELATIVE_PATH RVPCV_PC_TO_PREFIX ${CMAKE_INSTALL_PREFIX}/${RVPCV_PKGCONFIGDIR} ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" RVPCV_PC_TO_PREFIX ${RVPCV_PC_TO_PREFIX})
configure_file(${CMAKE_CURRENT_LIST_DIR}/rvpcv.pc.in ${PROJECT_BINARY_DIR}/rvpcv.pc @ONLY)
install(
  FILES ${PROJECT_BINARY_DIR}/rvpcv.pc
  DESTINATION ${RVPCV_PKGCONFIGDIR}
  COMPONENT development)

install(
  FILES ${PROJECT_SOURCE_DIR}/LICENSE
  DESTINATION ${CMAKE_INSTALL_DOCDIR}
  COMPONENT runtime)
install(
  FILES ${PROJECT_SOURCE_DIR}/examples/calls.c ${PROJECT_SOURCE_DIR}/examples/first_steps.c
        ${PROJECT_SOURCE_DIR}/examples/state_block.c
  DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples
  COMPONENT development)
install(
  FILES ${PROJECT_SOURCE_DIR}/README.md
  DESTINATION ${CMAKE_INSTALL_DOCDIR}
  COMPONENT documentation)
install(
  DIRECTORY ${PROJECT_SOURCE_DIR}/docs
  DESTINATION ${CMAKE_INSTALL_DOCDIR}
  COMPONENT documentation
  FILES_MATCHING
  PATTERN "*.md"
  PATTERN "*.svg"
  PATTERN "*.png")
if(RVPCV_DOCS)
  install(
    DIRECTORY ${PROJECT_BINARY_DIR}/docs/html
    DESTINATION ${CMAKE_INSTALL_DOCDIR}
    COMPONENT documentation
    OPTIONAL)
endif()

# Debian packages, for `cpack`: the libraries, what programs are built with, and the documentation.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME rvpcv)
set(CPACK_PACKAGE_CONTACT "The rvpCV developers")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL runtime development documentation)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME librvpcv${RVPCV_SONAME})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "${PROJECT_DESCRIPTION} (libraries)")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME librvpcv-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "${PROJECT_DESCRIPTION} (headers, CMake package, examples)")
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_NAME librvpcv-doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_DOCUMENTATION_DESCRIPTION "${PROJECT_DESCRIPTION} (reference)")
include(CPack)

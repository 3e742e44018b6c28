# `cpack` in the build folder: Debian packages on Linux, one zip file for Windows.
#   libqv3d0     the library
#   libqv3d-dev  header, CMake package, pkg-config file
#   qv3d         the reference host program
set(CPACK_PACKAGE_NAME QV_3D)
set(CPACK_PACKAGE_VENDOR "QV_3D developers")
set(CPACK_PACKAGE_CONTACT "QV_3D developers <noreply@example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL lib dev)
if(QV_3D_BUILD_HOST)
  list(APPEND CPACK_COMPONENTS_ALL tools)
endif()

if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
  set(CPACK_COMPONENT_INCLUDE_TOPLEVEL_DIRECTORY ON)
  set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
  set(CPACK_PACKAGE_FILE_NAME QV_3D-${PROJECT_VERSION}-windows-${CMAKE_SYSTEM_PROCESSOR})
  # Only of the package: it has no other page.
  install(FILES README.md DESTINATION . COMPONENT dev EXCLUDE_FROM_ALL)
  # What is linked in wants its licence beside it. Where Debian keeps those of the program's libraries.
  set(notices ${CMAKE_INSTALL_DATAROOTDIR}/doc/QV_3D/linked_in)
  install(FILES ${QV_3D_GLEW_SOURCE}/LICENSE.txt DESTINATION ${notices} RENAME glew COMPONENT lib EXCLUDE_FROM_ALL)
  if(QV_3D_BUILD_HOST)
    foreach(package IN ITEMS libcli11-dev libfmt-dev nlohmann-json3-dev)
      install(FILES /usr/share/doc/${package}/copyright DESTINATION ${notices} RENAME ${package} COMPONENT tools
        EXCLUDE_FROM_ALL OPTIONAL)
    endforeach()
  endif()
else()
  set(CPACK_GENERATOR DEB)
  set(CPACK_DEB_COMPONENT_INSTALL ON)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  # Where the program's own library is found; that it belongs to libqv3d0 is said below.
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})

  set(library libqv3d${PROJECT_VERSION_MAJOR})
  set(CPACK_DEBIAN_LIB_PACKAGE_NAME ${library})
  set(CPACK_DEBIAN_LIB_PACKAGE_SECTION libs)
  set(CPACK_DEBIAN_LIB_DESCRIPTION "The library: measures arrays of heights (roughness, waviness, roundness, spectra, contours),
imports STL and PLY meshes into height maps and draws them with OpenGL.")
  set(CPACK_DEBIAN_DEV_PACKAGE_NAME libqv3d-dev)
  set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
  set(CPACK_DEBIAN_DEV_PACKAGE_SHLIBDEPS OFF)
  set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "${library} (= ${PROJECT_VERSION})")
  set(CPACK_DEBIAN_DEV_DESCRIPTION "The C header, the CMake package and the pkg-config file of the QV_3D library.")
  set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME qv3d)
  set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION science)
  set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${library} (= ${PROJECT_VERSION})")
  # Off-screen pictures and their labels; everything else works without.
  set(CPACK_DEBIAN_TOOLS_PACKAGE_RECOMMENDS "libegl1, libgl1-mesa-dri, fonts-dejavu-core")
  set(CPACK_DEBIAN_TOOLS_DESCRIPTION "The program qv3d: measures, filters, converts and draws STL and PLY meshes and height maps
from the command line, with the QV_3D library.")
  foreach(component IN ITEMS lib:${library} dev:libqv3d-dev tools:qv3d)
    string(REPLACE ":" ";" component ${component})
    list(GET component 1 package)
    list(GET component 0 component)
    install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${package} RENAME copyright
      COMPONENT ${component} EXCLUDE_FROM_ALL)
  endforeach()
endif()
include(CPack)

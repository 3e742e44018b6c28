# `cmake --install`: header, library, CMake package, pkg-config file and licence.
include(CMakePackageConfigHelpers)

install(FILES exports/QV_3D.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(TARGETS QV_3D EXPORT QV_3D
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/QV_3D)
install(EXPORT QV_3D NAMESPACE QV_3D:: FILE QV_3DConfig.cmake DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/QV_3DConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/QV_3DConfigVersion.cmake DESTINATION ${package_dir})

# The prefix is given relative to the file, so that an installed tree may be moved.
file(RELATIVE_PATH prefix_from_pc /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" prefix_from_pc "${prefix_from_pc}")
configure_file(cmake/QV_3D.pc.in ${PROJECT_BINARY_DIR}/QV_3D.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/QV_3D.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

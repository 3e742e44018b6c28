# `cmake --install`: header, library, CMake package, pkg-config file and licence. The components are those of the
# packages (cmake/Packages.cmake).
include(CMakePackageConfigHelpers)

install(FILES exports/QV_3D.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT lib)
install(TARGETS QV_3D EXPORT QV_3D
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT lib
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT lib NAMELINK_COMPONENT dev
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/QV_3D)
install(EXPORT QV_3D NAMESPACE QV_3D:: FILE QV_3DConfig.cmake DESTINATION ${package_dir} COMPONENT dev)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/QV_3DConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/QV_3DConfigVersion.cmake DESTINATION ${package_dir} COMPONENT dev)

# The prefix is given relative to the file, so that an installed tree may be moved.
file(RELATIVE_PATH prefix_from_pc /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" prefix_from_pc "${prefix_from_pc}")
configure_file(cmake/QV_3D.pc.in ${PROJECT_BINARY_DIR}/QV_3D.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/QV_3D.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)

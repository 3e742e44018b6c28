# The library: every room adds its sources to qv_objects, which becomes
#   QV_3D        the shared library, which exports what the table lists
#   qv_internal  a static archive of the same objects, for tests and benchmarks of internal routines
add_library(qv_objects OBJECT)
target_include_directories(qv_objects PUBLIC ${PROJECT_SOURCE_DIR})
target_compile_definitions(qv_objects PRIVATE QV_3D_BUILD $<$<BOOL:${QV_3D_KEEP_LEAKS}>:QV_3D_KEEP_LEAKS>)
target_link_libraries(qv_objects PUBLIC qv_opengl PRIVATE qv_compiler)

foreach(room core kernels filters spectral contours mesh render platform)
  add_subdirectory(${room})
endforeach()

add_library(QV_3D SHARED)
add_library(QV_3D::QV_3D ALIAS QV_3D)
target_link_libraries(QV_3D PRIVATE qv_objects qv_kernels qv_opengl qv_compiler)
target_include_directories(QV_3D INTERFACE
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/exports> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
set_target_properties(QV_3D PROPERTIES
  OUTPUT_NAME QV_3D VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} LINKER_LANGUAGE CXX)

if(WIN32)
  # The import library comes from a list of its own: the one that the linker writes beside the DLL lacks the
  # decorated names that 32-bit callers ask for.
  set_target_properties(QV_3D PROPERTIES PREFIX "" RUNTIME_OUTPUT_NAME QV_3D LINK_DEPENDS ${export_lists}/QV_3D.def)
  target_link_options(QV_3D PRIVATE ${export_lists}/QV_3D.def -static)
  get_target_property(import_name QV_3D OUTPUT_NAME)
  add_custom_command(TARGET QV_3D POST_BUILD VERBATIM
    COMMAND ${CMAKE_DLLTOOL} --kill-at --input-def ${export_lists}/QV_3D_import.def
            --output-lib $<TARGET_LINKER_FILE:QV_3D>)
else()
  set_target_properties(QV_3D PROPERTIES LINK_DEPENDS ${export_lists}/QV_3D.map)
  # Names like Resample or TurnOn are common: calls inside the library must not be captured by a host's own.
  target_link_options(QV_3D PRIVATE -Wl,--version-script=${export_lists}/QV_3D.map -Wl,-Bsymbolic-functions)
  if(NOT QV_3D_SANITIZE OR NOT CMAKE_CXX_COMPILER_ID STREQUAL Clang)  # whose sanitizers are linked into programs only
    target_link_options(QV_3D PRIVATE -Wl,--no-undefined)
  endif()
endif()

add_library(qv_internal STATIC)
target_link_libraries(qv_internal PUBLIC qv_objects qv_kernels qv_opengl)
target_compile_definitions(qv_internal INTERFACE QV_3D_STATIC)
set_target_properties(qv_internal PROPERTIES LINKER_LANGUAGE CXX)

include(cmake/Install.cmake)

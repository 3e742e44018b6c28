# Writes the lists that the linkers need from exports/export_table.inc, so that they cannot drift apart:
#   QV_3D.map        ELF version script
#   QV_3D.def        what the DLL exports, undecorated
#   QV_3D_import.def what the import library offers (on 32-bit Windows callers ask for the decorated names)
set(export_table ${PROJECT_SOURCE_DIR}/exports/export_table.inc)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${export_table})
file(STRINGS ${export_table} export_rows REGEX "^QV_EXPORT")

set(map_names "")
set(def_rows "")
set(import_rows "")
foreach(row IN LISTS export_rows)
  if(NOT row MATCHES "^QV_EXPORT\\(([A-Za-z0-9_]+), ([0-9]+)\\)$")
    message(FATAL_ERROR "exports/export_table.inc: cannot read '${row}'")
  endif()
  set(name ${CMAKE_MATCH_1})
  string(APPEND map_names "    ${name};\n")
  if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    string(APPEND def_rows "  ${name}=${name}@${CMAKE_MATCH_2}\n")
    string(APPEND import_rows "  ${name}@${CMAKE_MATCH_2}\n")
  else()
    string(APPEND def_rows "  ${name}\n")
    string(APPEND import_rows "  ${name}\n")
  endif()
endforeach()

set(export_lists ${PROJECT_BINARY_DIR}/exports)
file(CONFIGURE OUTPUT ${export_lists}/QV_3D.map @ONLY CONTENT
  "QV_3D_${PROJECT_VERSION_MAJOR} {\n  global:\n${map_names}  local:\n    *;\n};\n")
file(CONFIGURE OUTPUT ${export_lists}/QV_3D.def @ONLY CONTENT "LIBRARY QV_3D.dll\nEXPORTS\n${def_rows}")
file(CONFIGURE OUTPUT ${export_lists}/QV_3D_import.def @ONLY CONTENT "LIBRARY QV_3D.dll\nEXPORTS\n${import_rows}")

# The header-only libraries of the host program for the cross builds: those of the build machine, by links to their
# folders alone. Its other headers stay out of the cross compiler's sight.
#   CLI11::CLI11, fmt::fmt, nlohmann_json::nlohmann_json
set(header_libraries ${PROJECT_BINARY_DIR}/header_libraries)
file(MAKE_DIRECTORY ${header_libraries})

# header_library(target header): the target with the folder that holds the header.
function(header_library target header)
  cmake_path(GET header PARENT_PATH folder)
  find_path(QV_3D_${folder}_INCLUDE_DIR ${header} PATHS /usr/include NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
  file(CREATE_LINK ${QV_3D_${folder}_INCLUDE_DIR}/${folder} ${header_libraries}/${folder} SYMBOLIC)
  add_library(${target} INTERFACE IMPORTED)
  target_include_directories(${target} SYSTEM INTERFACE ${header_libraries})
endfunction()

header_library(CLI11::CLI11 CLI/CLI.hpp)
header_library(fmt::fmt fmt/format.h)
header_library(nlohmann_json::nlohmann_json nlohmann/json.hpp)
target_compile_definitions(fmt::fmt INTERFACE FMT_HEADER_ONLY)

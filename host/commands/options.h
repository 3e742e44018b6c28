// Options of commands that read or draw surfaces, declared once.
#pragma once

#include <filesystem>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "commands/basic_options.h"
#include "drawing/picture.h"
#include "import/load.h"

namespace qv3d {

void AddLimits(CLI::App& command, ChildLimits& limits);
void AddUnitOption(CLI::App& command, std::string& unit);

/// As AddSurfaceOptions without FILE, for commands that take several.
void AddImportOptions(CLI::App& command, ImportOptions& options);

/// FILE and the unit of its numbers.
void AddFileAndUnit(CLI::App& command, std::filesystem::path& file, std::string& unit,
                    const std::string& what);

/// FILE, its unit, --json and --quiet. `what` says which files may be given.
void AddPlainFileOptions(CLI::App& command, ImportOptions& options, const std::string& what);

/// As AddPlainFileOptions, and the limits of the import of a mesh.
void AddFileOptions(CLI::App& command, ImportOptions& options, const std::string& what);

/// As AddFileOptions, and how the file becomes a height map.
void AddSurfaceOptions(CLI::App& command, ImportOptions& options);

/// --origin, --height-scale and --height-offset: how the file of a height map is to be understood.
void AddReadingOptions(CLI::App& command, ImportOptions& options);
void AddOriginOption(CLI::App& command, const char* name, std::optional<Origin>& origin, const char* what);

/// "WHAT: a file that ends in ..." for the help of an option that names a grid to write.
std::string GridOutputs(const char* what);

void AddLevelOption(CLI::App& command, ImportOptions& options);

/// --size WxH of a picture.
void AddSizeOption(CLI::App& command, PictureOptions& picture);
void AddSizeOption(CLI::App& command, int& width, int& height);

using Paths = std::vector<std::filesystem::path>;

/// Throws Failure (usage) where an output is the input, or two are one; an empty path was not asked for.
void RequireSeparate(const std::filesystem::path& input, const Paths& outputs);

/// As RequireSeparate, and where an output is of no format that grids are written in.
void RequireGridOutputs(const std::filesystem::path& input, const Paths& outputs);

/// Throws Failure (usage) where a file that was asked for has another extension; an empty path was not.
void RequireExtension(const std::filesystem::path& path, std::initializer_list<const char*> extensions);

}  // namespace qv3d

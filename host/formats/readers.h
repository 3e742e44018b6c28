// The readers and writers of the table, one pair of names for each file of this folder.
#pragma once

#include "formats/format.h"

namespace qv3d {

FileGrid ReadTextMatrix(const std::string& name, std::string&& bytes);
std::string WriteTextMatrix(const GridToWrite& grid);

FileGrid ReadXyz(const std::string& name, std::string&& bytes);
std::string WriteXyz(const GridToWrite& grid);

bool IsSdf(std::string_view bytes);
FileGrid ReadSdf(const std::string& name, std::string&& bytes);
std::string WriteSdf(const GridToWrite& grid);
std::string WriteAsciiSdf(const GridToWrite& grid);

bool IsX3p(std::string_view bytes);
FileGrid ReadX3p(const std::string& name, std::string&& bytes);
std::string WriteX3p(const GridToWrite& grid);

bool IsGsf(std::string_view bytes);
FileGrid ReadGsf(const std::string& name, std::string&& bytes);
std::string WriteGsf(const GridToWrite& grid);

bool IsBcr(std::string_view bytes);
FileGrid ReadBcr(const std::string& name, std::string&& bytes);

bool IsAl3d(std::string_view bytes);
FileGrid ReadAl3d(const std::string& name, std::string&& bytes);

bool IsTiff(std::string_view bytes);
FileGrid ReadTiff(const std::string& name, std::string&& bytes);
std::string WriteFloatTiff(const GridToWrite& grid);
std::string WriteGreyTiff(const GridToWrite& grid);

bool IsPng(std::string_view bytes);
FileGrid ReadGreyPng(const std::string& name, std::string&& bytes);
std::string WriteGreyPng(const GridToWrite& grid);

std::string WriteSolidStl(const GridToWrite& grid);
std::string WriteSolidPly(const GridToWrite& grid);
std::string WriteTurnedPly(const GridToWrite& grid);

}  // namespace qv3d

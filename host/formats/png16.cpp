// Grey PNG pictures of 8 or 16 bits, whose text chunks tell what a level means, by libpng.
#include <algorithm>
#include <bit>
#include <csetjmp>
#include <cstring>
#include <fmt/format.h>
#include <png.h>

#include "files/mesh_file.h"
#include "formats/picture_scale.h"
#include "formats/readers.h"
#include "formats/samples.h"

namespace qv3d {
namespace {

constexpr std::string_view kMagic = "\x89PNG\r\n\x1a\n";
/// Deflate makes no more out of a byte.
constexpr double kMostExpansion = 1032;
constexpr std::size_t kAnyChunk = std::size_t{1} << 16;
constexpr const char* kNotRead = "a picture in colour; heights are read from grey levels only";

/// Everything that lives across libpng's jumps: nothing in the functions that call it needs a destructor.
struct Reading {
  std::string_view rest;
  png_structp png = nullptr;
  png_infop info = nullptr;
  std::string error;
  png_uint_32 width = 0, height = 0;
  int depth = 0, colour = 0;
  std::string samples;
  std::string notes;

  ~Reading() { png_destroy_read_struct(&png, &info, nullptr); }
};

png_const_bytep Bytes(const char* bytes) {
  return reinterpret_cast<png_const_bytep>(bytes);
}

[[noreturn]] void Fail(png_structp png, png_const_charp message) {
  static_cast<Reading*>(png_get_error_ptr(png))->error = message;
  png_longjmp(png, 1);
}

void Ignore(png_structp, png_const_charp) {}

void Take(png_structp png, png_bytep to, std::size_t count) {
  std::string_view& rest = static_cast<Reading*>(png_get_io_ptr(png))->rest;
  if (rest.size() < count) png_error(png, "it ends too early");
  std::memcpy(to, rest.data(), count);
  rest.remove_prefix(count);
}

/// libpng allocates and clears what a chunk announces before it looks whether that is there.
void CheckChunks(const std::string& name, std::string_view bytes) {
  constexpr std::size_t kAround = 12;  // length, kind and checksum
  for (bytes.remove_prefix(kMagic.size()); !bytes.empty();) {
    const std::size_t length = bytes.size() < kAround ? bytes.size() : png_get_uint_32(Bytes(bytes.data()));
    if (bytes.size() < kAround || length > bytes.size() - kAround) {
      RefuseCorrupt(name, "no PNG picture in order (it ends too early)");
    }
    const bool last = bytes.substr(4, 4) == "IEND";
    bytes.remove_prefix(last ? bytes.size() : length + kAround);
  }
}

void TakeNotes(Reading& reading) {
  png_textp texts = nullptr;
  int count = 0;
  png_get_text(reading.png, reading.info, &texts, &count);
  for (int i = 0; i < count; ++i) {
    std::string key = texts[i].key, value = texts[i].text;
    // A colon ends the key.
    key.erase(std::remove(key.begin(), key.end(), ':'), key.end());
    std::replace(value.begin(), value.end(), '\n', ' ');
    reading.notes += fmt::format("{}: {}\n", key, value);
  }
}

/// False where libpng reported an error.
bool ReadHeader(Reading& reading) {
  if (setjmp(png_jmpbuf(reading.png)) != 0) return false;
  png_set_read_fn(reading.png, &reading, Take);
  // Compressed text may be some times larger than the file.
  png_set_chunk_malloc_max(reading.png, kAnyChunk + reading.rest.size());
  png_set_keep_unknown_chunks(reading.png, PNG_HANDLE_CHUNK_NEVER, nullptr, 0);
  png_read_info(reading.png, reading.info);
  png_get_IHDR(reading.png, reading.info, &reading.width, &reading.height, &reading.depth, &reading.colour,
               nullptr, nullptr, nullptr);
  return true;
}

/// Reads all rows into samples, which is large enough, and the chunks after them.
bool ReadRows(Reading& reading) {
  if (setjmp(png_jmpbuf(reading.png)) != 0) return false;
  png_set_expand_gray_1_2_4_to_8(reading.png);
  const int passes = png_set_interlace_handling(reading.png);
  png_read_update_info(reading.png, reading.info);
  const std::size_t stride = png_get_rowbytes(reading.png, reading.info);
  for (int pass = 0; pass < passes; ++pass) {
    for (png_uint_32 row = 0; row < reading.height; ++row) {
      png_read_row(reading.png, reinterpret_cast<png_bytep>(&reading.samples[row * stride]), nullptr);
    }
  }
  png_read_end(reading.png, reading.info);
  return true;
}

struct Writing {
  std::string bytes;
  png_structp png = nullptr;
  png_infop info = nullptr;
  std::vector<png_text> texts;
  std::vector<std::uint16_t> swapped;  ///< levels in the file's order of bytes

  ~Writing() { png_destroy_write_struct(&png, &info); }
};

void Append(png_structp png, png_bytep from, std::size_t count) {
  static_cast<Writing*>(png_get_io_ptr(png))->bytes.append(reinterpret_cast<const char*>(from), count);
}

bool WriteAll(Writing& writing, int width, int height) {
  if (setjmp(png_jmpbuf(writing.png)) != 0) return false;
  png_set_write_fn(writing.png, &writing, Append, nullptr);
  png_set_IHDR(writing.png, writing.info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height),
               16, PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
               PNG_FILTER_TYPE_DEFAULT);
  png_set_text(writing.png, writing.info, writing.texts.data(), static_cast<int>(writing.texts.size()));
  png_write_info(writing.png, writing.info);
  for (int row = 0; row < height; ++row) {
    const std::uint16_t* const levels =
        writing.swapped.data() + static_cast<std::size_t>(row) * static_cast<std::size_t>(width);
    png_write_row(writing.png, reinterpret_cast<png_const_bytep>(levels));
  }
  png_write_end(writing.png, nullptr);
  return true;
}

png_text TextChunk(const std::pair<std::string, std::string>& note) {
  png_text text{};
  text.compression = PNG_TEXT_COMPRESSION_NONE;
  // libpng copies both; its fields are not const.
  text.key = const_cast<char*>(note.first.c_str());    // NOLINT(cppcoreguidelines-pro-type-const-cast)
  text.text = const_cast<char*>(note.second.c_str());  // NOLINT(cppcoreguidelines-pro-type-const-cast)
  text.text_length = note.second.size();
  return text;
}

std::uint16_t BigEndian(std::uint16_t level) {
  return static_cast<std::uint16_t>(level << 8 | level >> 8);
}

}  // namespace

bool IsPng(std::string_view bytes) {
  return bytes.substr(0, kMagic.size()) == kMagic;
}

FileGrid ReadGreyPng(const std::string& name, std::string&& bytes) {
  if (!IsPng(bytes)) RefuseCorrupt(name, "no PNG picture");
  CheckChunks(name, bytes);
  Reading reading;
  reading.rest = bytes;
  reading.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &reading, Fail, Ignore);
  if (reading.png != nullptr) reading.info = png_create_info_struct(reading.png);
  if (reading.info == nullptr) throw std::bad_alloc();
  if (!ReadHeader(reading)) RefuseCorrupt(name, fmt::format("no PNG picture in order ({})", reading.error));
  if (reading.colour != PNG_COLOR_TYPE_GRAY) RefuseUnsupported(name, kNotRead);
  FileGrid grid;
  const std::size_t count = SetSize(grid, name, reading.width, reading.height);
  const bool deep = reading.depth == 16;
  if (static_cast<double>(count) * reading.depth / 8 > kMostExpansion * static_cast<double>(bytes.size())) {
    RefuseCorrupt(name,
                  fmt::format("{} bytes cannot hold {} x {} levels", bytes.size(), grid.width, grid.height));
  }
  reading.samples.resize(count * (deep ? 2 : 1));
  if (!ReadRows(reading)) RefuseCorrupt(name, fmt::format("the picture is damaged ({})", reading.error));
  TakeNotes(reading);
  AppendSamples(reading.samples, count, deep ? SampleType::kUint16 : SampleType::kUint8, std::endian::big, {},
                grid.values);
  ApplyNotes(name, reading.notes, true, grid);
  grid.kind = fmt::format("PNG, {}-bit grey levels", reading.depth);
  return grid;
}

std::string WriteGreyPng(const GridToWrite& grid) {
  const GreyLevels grey = LevelsOf(grid);
  const PictureNotes notes = NotesOf(grid, &grey);
  Writing writing;
  std::transform(notes.begin(), notes.end(), std::back_inserter(writing.texts), TextChunk);
  std::transform(grey.levels.begin(), grey.levels.end(), std::back_inserter(writing.swapped), BigEndian);
  writing.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, Ignore);
  if (writing.png != nullptr) writing.info = png_create_info_struct(writing.png);
  if (writing.info == nullptr) throw std::bad_alloc();
  if (!WriteAll(writing, grid.map.width, grid.map.height)) {
    throw Failure(ExitCode::kNotComputable, "the picture cannot be encoded");
  }
  return writing.bytes;
}

}  // namespace qv3d

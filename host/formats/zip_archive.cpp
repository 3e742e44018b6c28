#include "formats/zip_archive.h"

#include <algorithm>
#include <fmt/format.h>
#include <memory>
#include <zip.h>

#include "failure.h"
#include "formats/format.h"

namespace qv3d {
namespace {

constexpr std::size_t kChunk = std::size_t{1} << 20;

struct Error : zip_error_t {
  Error() : zip_error_t{} { zip_error_init(this); }
  Error(const Error&) = delete;
  Error& operator=(const Error&) = delete;
  ~Error() { zip_error_fini(this); }
};

[[noreturn]] void FailToWrite(const char* why) {
  throw Failure(ExitCode::kNotComputable, fmt::format("the archive cannot be made: {}", why));
}

void AddMember(zip* archive, const std::string& name, const std::string& content) {
  zip_source_t* const source = zip_source_buffer(archive, content.data(), content.size(), 0);
  const zip_int64_t index =
      source == nullptr ? -1 : zip_file_add(archive, name.c_str(), source, ZIP_FL_ENC_UTF_8);
  if (index < 0) {
    if (source != nullptr) zip_source_free(source);
    FailToWrite(zip_strerror(archive));
  }
  // The same surface makes the same file, whenever.
  zip_file_set_dostime(archive, static_cast<zip_uint64_t>(index), 0, (20 << 9) | (1 << 5) | 1, 0);
}

std::string ContentOf(zip_source_t* source) {
  if (zip_source_open(source) != 0) FailToWrite(zip_error_strerror(zip_source_error(source)));
  zip_source_seek(source, 0, SEEK_END);
  std::string bytes(static_cast<std::size_t>(std::max<zip_int64_t>(zip_source_tell(source), 0)), '\0');
  zip_source_seek(source, 0, SEEK_SET);
  const bool whole =
      zip_source_read(source, bytes.data(), bytes.size()) == static_cast<zip_int64_t>(bytes.size());
  zip_source_close(source);
  if (!whole) FailToWrite("its bytes cannot be read back");
  return bytes;
}

}  // namespace

ZipArchive::ZipArchive(const std::string& name, const std::string& bytes) : name_(name) {
  Error error;
  zip_source_t* const source = zip_source_buffer_create(bytes.data(), bytes.size(), 0, &error);
  if (source != nullptr) archive_ = zip_open_from_source(source, ZIP_RDONLY, &error);
  if (archive_ != nullptr) return;
  if (source != nullptr) zip_source_free(source);
  RefuseCorrupt(name, fmt::format("no zip archive in order ({})", zip_error_strerror(&error)));
}

ZipArchive::~ZipArchive() {
  zip_discard(archive_);
}

std::optional<std::string> ZipArchive::Read(const std::string& member, std::size_t most) const {
  const zip_int64_t index = zip_name_locate(archive_, member.c_str(), 0);
  if (index < 0) return {};
  const std::unique_ptr<zip_file_t, int (*)(zip_file_t*)> file(
      zip_fopen_index(archive_, static_cast<zip_uint64_t>(index), 0), zip_fclose);
  if (!file) {
    RefuseCorrupt(name_, fmt::format("\"{}\" cannot be unpacked ({})", member, zip_strerror(archive_)));
  }
  std::string content, chunk(std::min(kChunk, most), '\0');
  while (content.size() < most) {
    const zip_int64_t got =
        zip_fread(file.get(), chunk.data(), std::min(chunk.size(), most - content.size()));
    if (got < 0)
      RefuseCorrupt(name_, fmt::format("\"{}\" is damaged ({})", member, zip_file_strerror(file.get())));
    if (got == 0) break;
    content.append(chunk, 0, static_cast<std::size_t>(got));
  }
  return content;
}

std::string WriteZip(const std::vector<std::pair<std::string, std::string>>& members) {
  Error error;
  zip_source_t* const whole = zip_source_buffer_create(nullptr, 0, 0, &error);
  if (whole == nullptr) FailToWrite(zip_error_strerror(&error));
  const std::unique_ptr<zip_source_t, void (*)(zip_source_t*)> keeper(whole, zip_source_free);
  zip* const archive = zip_open_from_source(whole, ZIP_TRUNCATE, &error);
  if (archive == nullptr) FailToWrite(zip_error_strerror(&error));
  zip_source_keep(whole);
  std::unique_ptr<zip, void (*)(zip*)> open(archive, zip_discard);
  for (const auto& [name, content] : members) AddMember(archive, name, content);
  if (zip_close(archive) != 0) FailToWrite(zip_strerror(archive));
  static_cast<void>(open.release());
  return ContentOf(whole);
}

}  // namespace qv3d

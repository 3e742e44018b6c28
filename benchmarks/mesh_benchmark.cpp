// Mesh import: reading against assimp, against reading the file's bytes alone and (PLY) against a plain
// reader, conversion against an Embree build plus one ray per sample. Single-threaded; medians of processor
// time and their ratios at the end.
#include <algorithm>
#include <assimp/Importer.hpp>
#include <assimp/scene.h>
#include <benchmark/benchmark.h>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <embree3/rtcore.h>
#include <fcntl.h>
#include <fstream>
#include <malloc.h>
#include <map>
#include <memory>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "benchmarks/bumpy_surface.h"
#include "exports/QV_3D.h"
#include "tests/support/ply_files.h"
#include "tests/support/stl_files.h"
#include "tests/support/temporary_file.h"

namespace {

using qv::benchmarks::BumpyLattice;
using qv::benchmarks::BumpySurface;
using qv::benchmarks::LoadMesh;
using qv::benchmarks::Million;
using qv::mesh::Triangle;
using qv::mesh::Vertex;

constexpr int kIntervals = 1000;
constexpr std::size_t kSamples = static_cast<std::size_t>(kIntervals + 1) * (kIntervals + 1);

const char* BinaryFile() {
  static const qv::test::TemporaryFile file(qv::test::BinaryStl(Million()));
  return file.name();
}

const char* TextFile() {
  static const qv::test::TemporaryFile file(qv::test::AsciiStl(BumpySurface(400, 250)));
  return file.name();
}

/// About half a million vertices and a million faces, whose frame makes the surface stand up.
std::string MillionFaces(qv::ply::FileKind kind) {
  const int columns = 1000, rows = 500;
  std::vector<Vertex> vertices = BumpyLattice(columns, rows);
  for (Vertex& v : vertices) v = {v.z, v.x, -v.y};
  qv::test::PlyFaces faces;
  for (int j = 0; j < rows; ++j) {
    for (int i = 0; i < columns; ++i) {
      const int a = j * (columns + 1) + i, b = a + columns + 1;
      faces.push_back({a, b + 1, a + 1});
      faces.push_back({a, b, b + 1});
    }
  }
  return qv::test::PlyMesh(kind, vertices, faces);
}

const char* BinaryPly() {
  static const qv::test::TemporaryFile file(MillionFaces(qv::ply::FileKind::kBinaryLittleEndian), ".ply");
  return file.name();
}

const char* ReversedPly() {
  static const qv::test::TemporaryFile file(MillionFaces(qv::ply::FileKind::kBinaryBigEndian), ".ply");
  return file.name();
}

const char* TextPly() {
  static const qv::test::TemporaryFile file(MillionFaces(qv::ply::FileKind::kAscii), ".ply");
  return file.name();
}

void Parse(const char* name) {
  float b[6];
  int count = 0;
  ParseSTLFile(name, b, b + 1, b + 2, b + 3, b + 4, b + 5, &count);
  benchmark::DoNotOptimize(count);
}

void ParsePly(const char* name) {
  float b[6];
  int vertices = 0, faces = 0;
  if (ParsePLYFile(name, b, b + 1, b + 2, b + 3, b + 4, b + 5, &vertices, &faces) != 0) std::abort();
  benchmark::DoNotOptimize(faces);
}

void ReadBlocks(benchmark::State& state, const char* name) {
  static std::vector<char> block(256 * 1024);
  for (auto _ : state) {
    const int file = open(name, O_RDONLY);
    while (read(file, block.data(), block.size()) > 0) benchmark::DoNotOptimize(block.data());
    close(file);
  }
}

/// As ReadBlocks, but what was read is kept in memory of its own, as a reader must keep the triangles.
void KeepBlocks(benchmark::State& state, const char* name) {
  for (auto _ : state) {
    const int file = open(name, O_RDONLY);
    const auto bytes = static_cast<std::size_t>(lseek(file, 0, SEEK_END));
    lseek(file, 0, SEEK_SET);
    char* kept = static_cast<char*>(std::malloc(bytes));
    std::size_t done = 0;
    for (ssize_t got = 1; got > 0; done += static_cast<std::size_t>(got)) {
      got = read(file, kept + done, std::min(bytes - done, std::size_t{256} * 1024));
    }
    benchmark::DoNotOptimize(kept[bytes / 2]);
    std::free(kept);
    close(file);
  }
}

void ReadOurs(benchmark::State& state, const char* name) {
  for (auto _ : state) {
    Parse(name);
    CleanUpSTL();
  }
}

void ReadOurPly(benchmark::State& state, const char* name) {
  for (auto _ : state) {
    ParsePly(name);
    CleanUpPLY();
  }
}

/// What one would write down for exactly this file: a value at a time by C's own functions, a record and a
/// list of corners in the heap for every face.
struct PlainMesh {
  struct Face {
    unsigned char count;
    std::vector<int> corners;
  };
  std::vector<Vertex> vertices;
  std::vector<std::unique_ptr<Face>> faces;
};

std::FILE* OpenBehindHeader(const char* name, PlainMesh* mesh) {
  std::FILE* file = std::fopen(name, "rb");
  char line[4096];
  std::size_t count = 0;
  while (std::fgets(line, sizeof line, file) != nullptr && std::strcmp(line, "end_header\n") != 0) {
    if (std::sscanf(line, "element vertex %zu", &count) == 1) mesh->vertices.resize(count);
    if (std::sscanf(line, "element face %zu", &count) == 1) mesh->faces.resize(count);
  }
  return file;
}

template <class T>
T TakeValue(std::FILE* file) {
  T value;
  if (std::fread(&value, sizeof value, 1, file) != 1) std::abort();
  return value;
}

void ReadPlainBinary(benchmark::State& state, const char* name) {
  for (auto _ : state) {
    PlainMesh mesh;
    std::FILE* file = OpenBehindHeader(name, &mesh);
    for (Vertex& v : mesh.vertices) {
      const auto x = TakeValue<float>(file), y = TakeValue<float>(file), z = TakeValue<float>(file);
      v = {y, -z, x};
    }
    for (auto& face : mesh.faces) {
      face = std::make_unique<PlainMesh::Face>();
      face->count = TakeValue<unsigned char>(file);
      face->corners.resize(face->count);
      for (int& corner : face->corners) corner = TakeValue<int>(file);
    }
    std::fclose(file);
  }
}

void ReadPlainText(benchmark::State& state, const char* name) {
  for (auto _ : state) {
    PlainMesh mesh;
    std::FILE* file = OpenBehindHeader(name, &mesh);
    char line[4096];
    for (Vertex& v : mesh.vertices) {
      char* text = std::fgets(line, sizeof line, file);
      const float x = std::strtof(text, &text), y = std::strtof(text, &text), z = std::strtof(text, &text);
      v = {y, -z, x};
    }
    for (auto& face : mesh.faces) {
      face = std::make_unique<PlainMesh::Face>();
      char* text = std::fgets(line, sizeof line, file);
      face->count = static_cast<unsigned char>(std::strtol(text, &text, 10));
      face->corners.resize(face->count);
      for (int& corner : face->corners) corner = static_cast<int>(std::strtol(text, &text, 10));
    }
    std::fclose(file);
  }
}

void ReadAssimp(benchmark::State& state, const char* name) {
  for (auto _ : state) {
    Assimp::Importer importer;
    const aiScene* scene = importer.ReadFile(name, 0);
    if (scene == nullptr) state.SkipWithError("assimp could not read the file");
    benchmark::DoNotOptimize(scene);
  }
}

void ConvertOurs(benchmark::State& state) {
  std::vector<float> heights(kSamples);
  for (auto _ : state) {
    state.PauseTiming();
    LoadMesh(Million());
    state.ResumeTiming();
    if (ConvertSTLFile(kIntervals, kIntervals, 0, 0, 1, 1, heights.data()) != 0)
      state.SkipWithError("failed");
  }
  state.counters["missing"] = static_cast<double>(std::count(heights.begin(), heights.end(), -1e10F));
}

void ConvertOurPly(benchmark::State& state) {
  std::vector<float> heights(kSamples);
  for (auto _ : state) {
    state.PauseTiming();
    ParsePly(BinaryPly());
    state.ResumeTiming();
    if (ConvertPLYFile(kIntervals, kIntervals, 0, 0, 1, 1, heights.data()) != 0)
      state.SkipWithError("failed");
  }
  state.counters["missing"] = static_cast<double>(std::count(heights.begin(), heights.end(), -1e10F));
}

void ConvertEmbree(benchmark::State& state) {
  const RTCDevice device = rtcNewDevice("threads=1,set_affinity=0");
  std::vector<unsigned> indices(3 * Million().size());
  for (std::size_t i = 0; i < indices.size(); ++i) indices[i] = static_cast<unsigned>(i);
  std::vector<float> vertices(9 * Million().size() + 4);  // Embree reads a little past the last vertex
  std::memcpy(vertices.data(), Million().data(), Million().size() * sizeof(Triangle));
  std::vector<float> heights(kSamples);
  for (auto _ : state) {
    const RTCScene scene = rtcNewScene(device);
    const RTCGeometry geometry = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_TRIANGLE);
    rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3, vertices.data(), 0, 12,
                               indices.size());
    rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3, indices.data(), 0, 12,
                               Million().size());
    rtcCommitGeometry(geometry);
    rtcAttachGeometry(scene, geometry);
    rtcReleaseGeometry(geometry);
    rtcCommitScene(scene);
    RTCIntersectContext context;
    rtcInitIntersectContext(&context);
    for (std::size_t k = 0; k < kSamples; ++k) {
      RTCRayHit hit{};
      hit.ray.org_x = static_cast<float>(k % (kIntervals + 1)) / kIntervals;
      hit.ray.org_y = static_cast<float>(k / (kIntervals + 1)) / kIntervals;
      hit.ray.org_z = 1;
      hit.ray.dir_z = -1;
      hit.ray.tfar = INFINITY;
      hit.ray.mask = 0xFFFFFFFFU;
      hit.hit.geomID = RTC_INVALID_GEOMETRY_ID;
      rtcIntersect1(scene, &context, &hit);
      heights[k] = hit.hit.geomID == RTC_INVALID_GEOMETRY_ID ? -1e10F : 1 - hit.ray.tfar;
    }
    rtcReleaseScene(scene);
  }
  rtcReleaseDevice(device);
  state.counters["missing"] = static_cast<double>(std::count(heights.begin(), heights.end(), -1e10F));
}

long StatusKilobytes(const std::string& field) {
  std::ifstream status("/proc/self/status");
  std::string word;
  while (status >> word) {
    if (word == field + ":") {
      long value = 0;
      status >> value;
      return value;
    }
  }
  return 0;
}

/// Parses and converts in a child process and reports its peak against the size of the mesh. The caller's
/// heights are not counted.
void ReportPeakMemory() {
  BinaryFile();
  const pid_t child = fork();
  if (child == 0) {
    std::vector<float> heights(kSamples, 1.0F);
    malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << 5;  // forget the peak so far
    const long before = StatusKilobytes("VmRSS");
    Parse(BinaryFile());
    const long parsed = StatusKilobytes("VmHWM");
    ConvertSTLFile(kIntervals, kIntervals, 0, 0, 1, 1, heights.data());
    const long converted = StatusKilobytes("VmHWM");
    const double mesh = static_cast<double>(Million().size() * sizeof(Triangle)) / 1024;
    std::printf("peak memory over the mesh's own %.1f MB: %.2f after reading, %.2f after conversion\n",
                mesh / 1024, static_cast<double>(parsed - before) / mesh,
                static_cast<double>(converted - before) / mesh);
    std::fflush(stdout);
    _exit(0);
  }
  waitpid(child, nullptr, 0);
}

/// Prints as usual and keeps the medians.
class MedianReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.aggregate_name == "median") medians_[run.run_name.function_name] = run.GetAdjustedCPUTime();
    }
    ConsoleReporter::ReportRuns(runs);
  }
  void PrintRatio(const char* ours, const char* peer, double target) const {
    const auto a = medians_.find(ours), b = medians_.find(peer);
    if (a == medians_.end() || b == medians_.end()) return;
    std::printf("%-16s / %-16s %8.2f / %8.2f ms = %.3f (at most %g)\n", ours, peer, a->second, b->second,
                a->second / b->second, target);
  }

 private:
  std::map<std::string, double> medians_;
};

template <class... Arguments>
void Register(const char* name, Arguments... arguments) {
  benchmark::RegisterBenchmark(name, arguments...)
      ->Unit(benchmark::kMillisecond)
      ->Repetitions(7)
      ->MinTime(0.1)
      ->ReportAggregatesOnly();
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  Register("STL_binary/QV_3D", ReadOurs, BinaryFile());
  Register("STL_binary/blocks_reused", ReadBlocks, BinaryFile());
  Register("STL_binary/blocks_kept", KeepBlocks, BinaryFile());
  Register("STL_binary/assimp", ReadAssimp, BinaryFile());
  Register("STL_text/QV_3D", ReadOurs, TextFile());
  Register("STL_text/blocks_reused", ReadBlocks, TextFile());
  Register("STL_text/assimp", ReadAssimp, TextFile());
  Register("STL_to_grid/QV_3D", ConvertOurs);
  Register("PLY_to_grid/QV_3D", ConvertOurPly);
  Register("STL_to_grid/Embree", ConvertEmbree);
  Register("PLY_binary/QV_3D", ReadOurPly, BinaryPly());
  Register("PLY_binary/blocks_reused", ReadBlocks, BinaryPly());
  Register("PLY_binary/plain", ReadPlainBinary, BinaryPly());
  Register("PLY_binary/assimp", ReadAssimp, BinaryPly());
  Register("PLY_big_endian/QV_3D", ReadOurPly, ReversedPly());
  Register("PLY_text/QV_3D", ReadOurPly, TextPly());
  Register("PLY_text/blocks_reused", ReadBlocks, TextPly());
  Register("PLY_text/plain", ReadPlainText, TextPly());
  Register("PLY_text/assimp", ReadAssimp, TextPly());
  ReportPeakMemory();

  MedianReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.PrintRatio("STL_binary/QV_3D", "STL_binary/assimp", 0.15);
  reporter.PrintRatio("STL_binary/QV_3D", "STL_binary/blocks_reused", 2);
  reporter.PrintRatio("STL_text/QV_3D", "STL_text/assimp", 0.5);
  reporter.PrintRatio("STL_to_grid/QV_3D", "STL_to_grid/Embree", 0.15);
  reporter.PrintRatio("PLY_to_grid/QV_3D", "STL_to_grid/Embree", 0.15);
  reporter.PrintRatio("PLY_binary/QV_3D", "PLY_binary/assimp", 0.16);
  reporter.PrintRatio("PLY_big_endian/QV_3D", "PLY_binary/assimp", 0.16);
  reporter.PrintRatio("PLY_binary/QV_3D", "PLY_binary/plain", 1);
  reporter.PrintRatio("PLY_text/QV_3D", "PLY_text/assimp", 0.35);
  reporter.PrintRatio("PLY_text/QV_3D", "PLY_text/plain", 1);
  return 0;
}

// Occlusion of meshes by rays beside Embree with the same rays, on one thread: the rays of every vertex of a
// rough surface of 354 x 354 samples (250,000 triangles), and the growth with the number of triangles.
#include <benchmark/benchmark.h>
#include <cmath>
#include <embree3/rtcore.h>
#include <map>
#include <vector>

#include "kernels/kernels.h"
#include "render/mesh_occlusion.h"
#include "render/occlusion_mesh.h"
#include "render/triangle_tree.h"
#include "tests/support/random_grid.h"

namespace {

constexpr int kRays = 64;

struct Mesh {
  std::vector<float> vertices, normals;
  std::vector<unsigned> triangles;
  int Count() const { return static_cast<int>(vertices.size() / 3); }
};

/// Waves of several lengths and a roughness about as high as the samples are apart.
const Mesh& Surface(int side) {
  static std::map<int, Mesh> meshes;
  Mesh& mesh = meshes[side];
  if (!mesh.vertices.empty()) return mesh;
  qv::test::Random random(5);
  for (int k = 0; k < side * side; ++k) {
    const double x = k % side / double(side - 1), y = k / side / double(side - 1);  // NOLINT
    const double z =
        0.05 * std::sin(20 * x) * std::cos(15 * y) + 0.01 * std::sin(110 * x + 70 * y) + random.Unit() / side;
    for (const double v : {x, y, z}) mesh.vertices.push_back(static_cast<float>(v));
    for (const float v : {0.0F, 0.0F, 1.0F}) mesh.normals.push_back(v);
  }
  for (int j = 0; j + 1 < side; ++j) {
    for (int i = 0; i + 1 < side; ++i) {
      const auto k = static_cast<unsigned>(j * side + i), w = static_cast<unsigned>(side);
      mesh.triangles.insert(mesh.triangles.end(), {k, k + 1, k + w, k + 1, k + w + 1, k + w});
    }
  }
  return mesh;
}

void SetRays(benchmark::State& state, const Mesh& mesh) {
  state.counters["rays/s"] = benchmark::Counter(
      static_cast<double>(state.iterations()) * mesh.Count() * kRays, benchmark::Counter::kIsRate);
}

/// As the export does it, the tree included.
void Whole(benchmark::State& state) {
  const Mesh& mesh = Surface(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    qv::render::MeshOcclusion generator;
    void* object = generator.create_object_vn(mesh.vertices.data(), 12, mesh.normals.data(), 12, mesh.Count(),
                                              1, reinterpret_cast<const void*>(mesh.triangles.size() / 3),
                                              mesh.triangles.data());
    generator.start_ao_gen_vert(object, kRays, 0.01F, 1, 5, 1, 2, 1);
    do {
      generator.ao_vert_generate(5);
    } while (generator.results_ready() == 0);
    benchmark::DoNotOptimize(generator.get_vert_results()->accessibility);
  }
  SetRays(state, mesh);
}

/// The same starts and directions for both, made beforehand; no tree is built in the measured part.
struct Prepared {
  std::vector<float> directions;  // in packets of 16 x, y, z
  qv::render::OcclusionMesh mesh;
};

const Prepared& Rays(const Mesh& mesh) {
  static const Prepared prepared = [&] {
    Prepared p;
    for (int packet = 0; packet < kRays / 16; ++packet) {
      std::vector<float> part(48);
      for (int lane = 0; lane < 16; ++lane) {
        // Four by four rays of a quarter of the disc's angles stay together.
        const double u = (lane % 4 + 0.5) / 4, v = (packet % 4 + (lane / 4 + 0.5) / 4) / 4;  // NOLINT
        const double radius = std::sqrt(u), angle = 6.283185307 * v;
        part[static_cast<std::size_t>(lane)] = static_cast<float>(radius * std::cos(angle));
        part[static_cast<std::size_t>(16 + lane)] = static_cast<float>(radius * std::sin(angle));
        part[static_cast<std::size_t>(32 + lane)] = static_cast<float>(std::sqrt(1 - u));
      }
      p.directions.insert(p.directions.end(), part.begin(), part.end());
    }
    p.mesh = qv::render::MeshOfTriangles(
        {mesh.vertices.data(), mesh.normals.data(), mesh.Count()},
        {static_cast<std::ptrdiff_t>(mesh.triangles.size() / 3), mesh.triangles.data()}, 0.01F);
    return p;
  }();
  return prepared;
}

void OurRays(benchmark::State& state) {
  const Mesh& mesh = Surface(354);
  const Prepared& prepared = Rays(mesh);
  const qv::render::TriangleTree tree(prepared.mesh.corners);
  std::ptrdiff_t open = 0;
  for (auto _ : state) {
    open = 0;
    for (int k = 0; k < mesh.Count(); ++k) {
      const float* o = &prepared.mesh.starts[3 * static_cast<std::size_t>(k)];
      const qv::kernels::OcclusionView view = {
          {o[0], o[1], o[2]}, {1, 0, 0, 0, 1, 0, 0, 0, 1}, prepared.directions.data(), kRays / 16, 10};
      open += qv::kernels::Active().occlusionRays.view(tree.Scene(), view).count;
    }
    benchmark::DoNotOptimize(open);
  }
  SetRays(state, mesh);
  state.counters["open"] = static_cast<double>(open) / (static_cast<double>(mesh.Count()) * kRays);
}

struct EmbreeScene {
  RTCDevice device = rtcNewDevice("threads=1,set_affinity=0");
  RTCScene scene = rtcNewScene(device);

  explicit EmbreeScene(const Mesh& mesh) {
    const RTCGeometry geometry = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_TRIANGLE);
    void* vertices = rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3, 12,
                                             mesh.vertices.size() / 3);
    std::copy(mesh.vertices.begin(), mesh.vertices.end(), static_cast<float*>(vertices));
    void* indices = rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3, 12,
                                            mesh.triangles.size() / 3);
    std::copy(mesh.triangles.begin(), mesh.triangles.end(), static_cast<unsigned*>(indices));
    rtcCommitGeometry(geometry);
    rtcAttachGeometry(scene, geometry);
    rtcReleaseGeometry(geometry);
    rtcCommitScene(scene);
  }
  ~EmbreeScene() {
    rtcReleaseScene(scene);
    rtcReleaseDevice(device);
  }
};

void EmbreePackets(benchmark::State& state) {
  const Mesh& mesh = Surface(354);
  const Prepared& prepared = Rays(mesh);
  const EmbreeScene embree(mesh);
  RTCIntersectContext context;
  rtcInitIntersectContext(&context);
  context.flags = RTC_INTERSECT_CONTEXT_FLAG_COHERENT;
  alignas(64) int valid[16];
  std::fill(valid, valid + 16, -1);
  std::ptrdiff_t open = 0;
  for (auto _ : state) {
    open = 0;
    for (int k = 0; k < mesh.Count(); ++k) {
      const float* o = &prepared.mesh.starts[3 * static_cast<std::size_t>(k)];
      for (int packet = 0; packet < kRays / 16; ++packet) {
        const float* d = prepared.directions.data() + 48 * packet;
        alignas(64) RTCRay16 rays = {};
        for (int lane = 0; lane < 16; ++lane) {
          rays.org_x[lane] = o[0];
          rays.org_y[lane] = o[1];
          rays.org_z[lane] = o[2];
          rays.dir_x[lane] = d[lane];
          rays.dir_y[lane] = d[16 + lane];
          rays.dir_z[lane] = d[32 + lane];
          rays.tfar[lane] = 10;
          rays.mask[lane] = ~0U;
        }
        rtcOccluded16(valid, embree.scene, &context, &rays);
        for (int lane = 0; lane < 16; ++lane) open += rays.tfar[lane] < 0 ? 0 : 1;
      }
    }
    benchmark::DoNotOptimize(open);
  }
  SetRays(state, mesh);
  state.counters["open"] = static_cast<double>(open) / (static_cast<double>(mesh.Count()) * kRays);
}

void EmbreeRays(benchmark::State& state) {
  const Mesh& mesh = Surface(354);
  const Prepared& prepared = Rays(mesh);
  const EmbreeScene embree(mesh);
  RTCIntersectContext context;
  rtcInitIntersectContext(&context);
  for (auto _ : state) {
    std::ptrdiff_t open = 0;
    for (int k = 0; k < mesh.Count(); ++k) {
      const float* o = &prepared.mesh.starts[3 * static_cast<std::size_t>(k)];
      for (int i = 0; i < kRays; ++i) {
        const float* d = prepared.directions.data() + 48 * (i / 16) + i % 16;
        RTCRay ray = {o[0], o[1], o[2], 0, d[0], d[16], d[32], 0, 10, ~0U, 0, 0};
        rtcOccluded1(embree.scene, &context, &ray);
        open += ray.tfar < 0 ? 0 : 1;
      }
    }
    benchmark::DoNotOptimize(open);
  }
  SetRays(state, mesh);
}

BENCHMARK(OurRays)->Name("occlusion rays, 250k triangles/QV_3D")->Unit(benchmark::kMillisecond);
BENCHMARK(EmbreePackets)
    ->Name("occlusion rays, 250k triangles/Embree, packets of 16")
    ->Unit(benchmark::kMillisecond);
BENCHMARK(EmbreeRays)
    ->Name("occlusion rays, 250k triangles/Embree, single rays")
    ->Unit(benchmark::kMillisecond);
// 62,500 to 2,000,000 triangles.
BENCHMARK(Whole)
    ->Name("occlusion, whole/QV_3D")
    ->Arg(177)
    ->Arg(354)
    ->Arg(708)
    ->Arg(1001)
    ->Unit(benchmark::kMillisecond);

}  // namespace

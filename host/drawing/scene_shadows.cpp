// Shadows that the surface throws on itself, by counting shadow volumes in the stencil buffer.
#include <QV_3D.h>
#include <algorithm>
#include <cmath>

#include "drawing/scene_parts.h"
#include "failure.h"

namespace qv3d {
namespace {

/// The drawn surface as a closed body on the floor: two more rings of vertices let every silhouette close.
/// Edges at the border of a grid cast no volume; here the border is flat ground, which casts none anyway.
class Body {
 public:
  explicit Body(const Scene& scene) : grid_(scene), width(grid_.width + 4), height(grid_.height + 4) {
    const Surface& s = scene.surface;
    for (int j = 0; j < height; ++j) {
      for (int i = 0; i < width; ++i) AddVertex(s, i, j);
    }
    triangles.resize(2 * static_cast<std::size_t>(width - 1) * static_cast<std::size_t>(height - 1));
    QV_ShadowStructure structure{0, 0, triangles.data()};
    CreateShadowStructure(&structure, 0, width, height);
    for (QV_ShadowTriangle& t : triangles) {
      ComputePlane(t);
      const auto measured = std::count_if(t.vertex, t.vertex + 3, [&](unsigned v) { return measured_[v]; });
      if (measured == 3) surface.insert(surface.end(), t.vertex, t.vertex + 3);
      if (measured == 1 || measured == 2) walls.insert(walls.end(), t.vertex, t.vertex + 3);
    }
    ComputeWallNormals();
  }

  /// Which triangles face the light.
  void Light(const float* light) {
    for (QV_ShadowTriangle& t : triangles) {
      const float* const p = t.plane;
      t.lit = p[0] * light[0] + p[1] * light[1] + p[2] * light[2] + p[3] > 0 ? 1 : 0;
    }
  }

 private:
  DrawnGrid grid_;
  std::vector<bool> measured_;

 public:
  int width, height;
  std::vector<float> xyz, normals, wallNormals;
  std::vector<QV_ShadowTriangle> triangles;
  std::vector<unsigned> surface, walls;  ///< three vertices to each triangle

 private:
  void AddVertex(const Surface& s, int i, int j) {
    const int column = std::clamp(i - 2, 0, grid_.width - 1), row = std::clamp(j - 2, 0, grid_.height - 1);
    const auto k = static_cast<std::size_t>(row) * static_cast<std::size_t>(grid_.width) +
                   static_cast<std::size_t>(column);
    const bool inside = i >= 2 && j >= 2 && i < width - 2 && j < height - 2;
    const bool there = inside && !IsMissing(grid_.heights[k]);
    measured_.push_back(there);
    // The outermost ring stands off a little: flat ground.
    const auto margin = static_cast<float>(0.02 * s.LongerSide());
    const float outX = i == 0 ? -margin : i == width - 1 ? margin : 0;
    const float outY = j == 0 ? -margin : j == height - 1 ? margin : 0;
    xyz.push_back(grid_.xyz[3 * k] + outX);
    xyz.push_back(grid_.xyz[3 * k + 1] + outY);
    xyz.push_back(there ? grid_.xyz[3 * k + 2] : static_cast<float>(s.low[2]));
    normals.insert(normals.end(), &grid_.normals[3 * k], &grid_.normals[3 * k] + 3);
  }

  void ComputePlane(QV_ShadowTriangle& t) const {
    const float* const a = &xyz[3 * std::size_t{t.vertex[0]}];
    const float* const b = &xyz[3 * std::size_t{t.vertex[1]}];
    const float* const c = &xyz[3 * std::size_t{t.vertex[2]}];
    const float u[3] = {b[0] - a[0], b[1] - a[1], b[2] - a[2]},
                v[3] = {c[0] - a[0], c[1] - a[1], c[2] - a[2]};
    t.plane[0] = u[1] * v[2] - u[2] * v[1];
    t.plane[1] = u[2] * v[0] - u[0] * v[2];
    t.plane[2] = u[0] * v[1] - u[1] * v[0];
    t.plane[3] = -(t.plane[0] * a[0] + t.plane[1] * a[1] + t.plane[2] * a[2]);
  }

  /// The sum over the triangles of walls alone: round holes look round, and rims stay sharp.
  void ComputeWallNormals() {
    wallNormals.resize(xyz.size());
    for (const QV_ShadowTriangle& t : triangles) {
      const auto measured = std::count_if(t.vertex, t.vertex + 3, [&](unsigned v) { return measured_[v]; });
      if (measured != 1 && measured != 2) continue;
      for (const unsigned v : t.vertex) {
        for (std::size_t i = 0; i < 3; ++i) wallNormals[3 * std::size_t{v} + i] += t.plane[i];
      }
    }
  }
};

ShadowCount Choose(ShadowCount wanted) {
  if (wanted != ShadowCount::kAutomatic) return wanted;
  if (IsExtensionSupported("GL_ATI_separate_stencil") == 0) return ShadowCount::kSeparateStencil;
  if (IsExtensionSupported("GL_EXT_stencil_two_side GL_EXT_stencil_wrap") == 0) return ShadowCount::kTwoSides;
  return ShadowCount::kTwoPasses;
}

/// Adds one for every front of a volume that lies before what is seen, and takes one away for every back.
template <typename DrawVolumes>
void CountVolumes(ShadowCount how, DrawVolumes draw) {
  if (how == ShadowCount::kSeparateStencil) {
    SetupATIStencilShadows();
    draw();
  } else if (how == ShadowCount::kTwoSides) {
    glEnable(GL_STENCIL_TEST_TWO_SIDE_EXT);
    for (const bool front : {false, true}) {
      SetActiveStencilFace(front ? GL_FRONT : GL_BACK);
      glStencilFunc(GL_ALWAYS, 0, ~0u);
      glStencilOp(GL_KEEP, GL_KEEP, front ? GL_INCR_WRAP : GL_DECR_WRAP);
    }
    draw();
    glDisable(GL_STENCIL_TEST_TWO_SIDE_EXT);
  } else {
    glEnable(GL_CULL_FACE);
    for (const bool front : {true, false}) {
      glCullFace(front ? GL_BACK : GL_FRONT);
      glStencilFunc(GL_ALWAYS, 0, ~0u);
      glStencilOp(GL_KEEP, GL_KEEP, front ? GL_INCR_WRAP : GL_DECR_WRAP);
      draw();
    }
    glDisable(GL_CULL_FACE);
  }
}

void FillStencil(const Body& body, const float* light, ShadowCount how) {
  glEnable(GL_STENCIL_TEST);
  glColorMask(GL_FALSE, GL_FALSE, GL_FALSE, GL_FALSE);
  glDepthMask(GL_FALSE);
  glDisable(GL_LIGHTING);
  // A volume reaches far: where the viewer's frustum would cut it off, it is flattened instead.
  glEnable(GL_DEPTH_CLAMP);
  CountVolumes(Choose(how), [&] {
    DoShadowPass(light, static_cast<int>(body.triangles.size()), body.xyz.data(),
                 reinterpret_cast<const unsigned*>(body.triangles.data()));
  });
  glDisable(GL_DEPTH_CLAMP);
  glDepthMask(GL_TRUE);
  glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
  glEnable(GL_LIGHTING);
}

void DrawTriangles(const Body& body, const std::vector<float>& normals,
                   const std::vector<unsigned>& indices) {
  glNormalPointer(GL_FLOAT, 0, normals.data());
  DrawRangeElements(GL_TRIANGLES, 0, static_cast<unsigned>(body.width * body.height - 1),
                    static_cast<int>(indices.size()), GL_UNSIGNED_INT, indices.data());
}

/// The body as its volumes know it, so that no edge of a shadow lies beside the edge that throws it.
void DrawBody(const Scene& scene, const Body& body) {
  glEnableClientState(GL_VERTEX_ARRAY);
  glEnableClientState(GL_NORMAL_ARRAY);
  glEnable(GL_NORMALIZE);
  glVertexPointer(3, GL_FLOAT, 0, body.xyz.data());
  SetMaterial(0.85f, 0.15f);
  DrawTriangles(body, body.normals, body.surface);
  SetMaterial(kWallGrey, 0);
  DrawTriangles(body, body.wallNormals, body.walls);
  glDisable(GL_NORMALIZE);
  glDisableClientState(GL_NORMAL_ARRAY);
  glDisableClientState(GL_VERTEX_ARRAY);
  SetMaterial(0.75f, 0);
  glNormal3f(0, 0, 1);
  DrawFloorQuad(scene.surface);
}

/// The lamp of the shadows, and a weak light from the viewer that shapes what lies in them.
void SetLamp(const float* position, bool on) {
  const float at[] = {position[0], position[1], position[2], 1};
  const float bright[] = {0.95f, 0.95f, 0.92f, 1}, weak[] = {0.16f, 0.16f, 0.19f, 1}, none[] = {0, 0, 0, 1};
  glLightfv(GL_LIGHT0, GL_POSITION, at);
  glLightfv(GL_LIGHT0, GL_DIFFUSE, bright);
  glLightfv(GL_LIGHT0, GL_SPECULAR, none);
  glLightfv(GL_LIGHT1, GL_DIFFUSE, weak);
  if (on) {
    glEnable(GL_LIGHT0);
  } else {
    glDisable(GL_LIGHT0);
  }
}

/// In the dark of a body shadows cannot be counted, and from below the floor everything lies in shadow.
void RequireOutside(const Surface& s, const Point& light) {
  const bool besides =
      light[0] < s.low[0] || light[0] > s.high[0] || light[1] < s.low[1] || light[1] > s.high[1];
  if (light[2] > s.high[2] || (besides && light[2] > s.low[2])) return;
  throw Failure(ExitCode::kUsage, "--light: the light must stand above the floor and outside of the surface");
}

}  // namespace

void DrawShadowsStyle(const Scene& scene) {
  const double unit = scene.surface.LongerSide();
  const Point& wanted = scene.options.light;
  const Point at{wanted[0] * unit, wanted[1] * unit, wanted[2] * unit};
  RequireOutside(scene.surface, at);
  const float light[] = {static_cast<float>(at[0]), static_cast<float>(at[1]), static_cast<float>(at[2])};
  Body body(scene);
  body.Light(light);
  SetAmbient(0.30f);
  SetLamp(light, false);
  DrawBody(scene, body);
  FillStencil(body, light, scene.options.shadowCount);
  // Once more, with the lamp, where no volume lies before what is seen.
  glStencilFunc(GL_EQUAL, 0, ~0u);
  glStencilOp(GL_KEEP, GL_KEEP, GL_KEEP);
  glDepthFunc(GL_LEQUAL);
  SetLamp(light, true);
  DrawBody(scene, body);
  glDepthFunc(GL_LESS);
  glDisable(GL_STENCIL_TEST);
}

}  // namespace qv3d

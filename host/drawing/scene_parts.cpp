#include "drawing/scene_parts.h"

#include <QV_3D.h>
#include <algorithm>
#include <cmath>
#include <numbers>

#include "drawing/colour_map.h"

namespace qv3d {
namespace {

void SetDirectionalLight(GLenum light, double x, double y, double z, float diffuse, float specular) {
  const float position[] = {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z), 0};
  const float colour[] = {diffuse, diffuse, diffuse, 1};
  const float shine[] = {specular, specular, specular, 1};
  glEnable(light);
  glLightfv(light, GL_POSITION, position);
  glLightfv(light, GL_DIFFUSE, colour);
  glLightfv(light, GL_SPECULAR, shine);
}

/// The lines that the drawing functions visit: the closing one is always among them.
std::vector<std::size_t> Visited(int count, int step) {
  std::vector<std::size_t> lines;
  for (int i = 0; i < count - step; i += step) lines.push_back(static_cast<std::size_t>(i));
  lines.push_back(static_cast<std::size_t>(count - 1));
  return lines;
}

}  // namespace

Placement PlacementOf(const HeightMap& map) {
  return {-map.xSize / 2, map.ySize / 2, map.xSize, map.ySize};
}

void SetAmbient(float level) {
  const float ambient[] = {level, level, level, 1};
  glLightModelfv(GL_LIGHT_MODEL_AMBIENT, ambient);
}

void SetLights(const Camera& camera, Lighting lighting) {
  const double az = std::atan2(camera.toViewer()[0], -camera.toViewer()[1]);
  const auto light = [&](GLenum name, double turn, double elevation, float diffuse, float specular) {
    const double a = az + turn * std::numbers::pi / 180, e = elevation * std::numbers::pi / 180;
    SetDirectionalLight(name, std::sin(a) * std::cos(e), -std::cos(a) * std::cos(e), std::sin(e), diffuse,
                        specular);
  };
  glEnable(GL_LIGHTING);
  glLightModeli(GL_LIGHT_MODEL_COLOR_CONTROL, GL_SEPARATE_SPECULAR_COLOR);
  glLightModeli(GL_LIGHT_MODEL_LOCAL_VIEWER, GL_FALSE);
  if (lighting == Lighting::kGrazing) {
    SetAmbient(0.26f);
    light(GL_LIGHT0, -100, 18, 1.45f, 0.20f);
    light(GL_LIGHT1, 60, 50, 0.14f, 0);
  } else {
    SetAmbient(0.36f);
    light(GL_LIGHT0, -75, 42, 0.78f, 0.20f);
    light(GL_LIGHT1, 70, 50, 0.18f, 0);
  }
}

void SetMaterial(float grey, float shine) {
  const float body[] = {grey, grey, grey, 1};
  const float gloss[] = {shine, shine, shine, 1};
  glMaterialfv(GL_FRONT_AND_BACK, GL_AMBIENT_AND_DIFFUSE, body);
  glMaterialfv(GL_FRONT_AND_BACK, GL_SPECULAR, gloss);
  glMaterialf(GL_FRONT_AND_BACK, GL_SHININESS, 36);
  glColor3f(1, 1, 1);
}

ColourAsMaterial::ColourAsMaterial() {
  glColorMaterial(GL_FRONT_AND_BACK, GL_AMBIENT_AND_DIFFUSE);
  glEnable(GL_COLOR_MATERIAL);
}

ColourAsMaterial::~ColourAsMaterial() {
  glDisable(GL_COLOR_MATERIAL);
}

ColourTexture::ColourTexture() {
  const std::vector<Colour> table = ColourTable(1024);
  glGenTextures(1, &name_);
  glBindTexture(GL_TEXTURE_1D, name_);
  glTexParameteri(GL_TEXTURE_1D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
  glTexParameteri(GL_TEXTURE_1D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
  glTexParameteri(GL_TEXTURE_1D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
  glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  glTexImage1D(GL_TEXTURE_1D, 0, GL_RGB8, static_cast<GLsizei>(table.size()), 0, GL_RGB, GL_UNSIGNED_BYTE,
               table.data());
  glEnable(GL_TEXTURE_1D);
}

ColourTexture::~ColourTexture() {
  glDisable(GL_TEXTURE_1D);
  glDeleteTextures(1, &name_);
}

DrawnGrid::DrawnGrid(const Scene& scene) {
  const Surface& s = scene.surface;
  const std::vector<std::size_t> columns = Visited(s.map.width, scene.options.columnStep);
  const std::vector<std::size_t> rows = Visited(s.map.height, scene.options.rowStep);
  width = static_cast<int>(columns.size());
  height = static_cast<int>(rows.size());
  for (const std::size_t row : rows) {
    for (const std::size_t column : columns) {
      samples.push_back(row * static_cast<std::size_t>(s.map.width) + column);
    }
  }
  std::vector<float> all(3 * s.map.heights.size());
  const Placement p = PlacementOf(s.map);
  CreateSurfaceXYZ(all.data(), s.drawn.data(), s.map.width, s.map.height, 1, p.xOffset, p.ySize / 2, p.xSize,
                   p.ySize);
  heights = Pick(s.drawn.data(), 1);
  xyz = Pick(all.data(), 3);
  normals = Pick(s.normals.data(), 3);
}

std::vector<float> DrawnGrid::Pick(const float* values, std::size_t size) const {
  std::vector<float> picked;
  picked.reserve(size * samples.size());
  for (const std::size_t k : samples) picked.insert(picked.end(), values + size * k, values + size * (k + 1));
  return picked;
}

}  // namespace qv3d

// What OpenGL makes of the gauges: colours and areas that are known, and whether every style draws at all.
#include <QV_3D.h>
#include <cmath>
#include <fmt/format.h>
#include <numbers>

#include <GL/gl.h>

#include "drawing/mesh_cut.h"
#include "drawing/pick.h"
#include "failure.h"
#include "selftest/families.h"

namespace qv3d {
namespace {

constexpr int kSide = 64;
constexpr float kAmbient = 0.2f, kDiffuse = 0.6f;
/// The lamp stands 60 degrees from the normal of a plane parallel to the base.
constexpr double kCosine = 0.5;

bool IsBackground(const std::uint8_t* pixel) {
  for (std::size_t k = 0; k < 3; ++k) {
    if (std::abs(pixel[k] - 255 * kBackground[k]) > 1) return false;
  }
  return true;
}

double ShareDrawn(const Image& image) {
  int drawn = 0;
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) drawn += !IsBackground(image.Pixel(x, y));
  }
  return static_cast<double>(drawn) / (image.width() * image.height());
}

void SetUpLamp() {
  const float position[] = {0, static_cast<float>(std::sqrt(1 - kCosine * kCosine)),
                            static_cast<float>(kCosine), 0};
  const float ambient[] = {kAmbient, kAmbient, kAmbient, 1}, diffuse[] = {kDiffuse, kDiffuse, kDiffuse, 1},
              white[] = {1, 1, 1, 1}, none[] = {0, 0, 0, 1};
  glEnable(GL_LIGHTING);
  glEnable(GL_LIGHT0);
  glLightfv(GL_LIGHT0, GL_POSITION, position);
  glLightfv(GL_LIGHT0, GL_AMBIENT, none);
  glLightfv(GL_LIGHT0, GL_DIFFUSE, diffuse);
  glLightModelfv(GL_LIGHT_MODEL_AMBIENT, ambient);
  glMaterialfv(GL_FRONT_AND_BACK, GL_AMBIENT_AND_DIFFUSE, white);
  glMaterialfv(GL_FRONT_AND_BACK, GL_SPECULAR, none);
}

/// The flat gauge fills a quarter of the picture, around its middle.
Image DrawLitPlane(const OffscreenContext& context, const HeightMap& map) {
  Framebuffer framebuffer(context, kSide, kSide);
  glClearColor(kBackground[0], kBackground[1], kBackground[2], 0);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  glOrtho(-1, 1, -1, 1, -100, 100);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  SetUpLamp();
  std::vector<float> normals(3 * map.heights.size());
  ComputeSurfaceNormalsf(map.heights.data(), map.width, map.height, normals.data(), 0, 0, map.xSize,
                         map.ySize);
  RenderSurfaceWithNormalsf(map.heights.data(), normals.data(), map.width, map.height, 1, GL_TRIANGLE_STRIP,
                            1, -0.5f, 0.5f, 1, 1);
  glDisable(GL_LIGHT0);
  glDisable(GL_LIGHTING);
  return framebuffer.Read();
}

void CheckLitPlane(const OffscreenContext& context, const Gauges& gauges, Checks& checks) {
  const Image image = DrawLitPlane(context, gauges.flat);
  // The edges lie between pixels, so that none is drawn in part.
  checks.Near("flat", "share of the pixels that a lit surface covers", 0.25, ShareDrawn(image),
              2.0 / kSide / kSide);
  // A level is rounded to whole numbers, by OpenGL to either side.
  checks.Near("flat", "its grey in light from 60 degrees", 255 * (kAmbient + kDiffuse * kCosine),
              image.Pixel(kSide / 2, kSide / 2)[1], 1);
}

void CheckStyles(const OffscreenContext& context, const Gauges& gauges, Checks& checks) {
  for (const StyleFacts& facts : AllStyles()) {
    for (const bool buffers : {false, true}) {
      if (buffers && !facts.buffers) continue;
      PictureOptions options;
      options.style = facts.style;
      options.width = options.height = 2 * kSide;
      options.bare = true;
      options.buffers = buffers;
      options.unit = kGaugeUnit;
      const Picture picture = DrawPicture(context, gauges.cap, options);
      // How much of the picture the surface fills is the camera's affair: more than a twentieth, up to all.
      checks.Near("cap",
                  fmt::format("style {}{}, share drawn, 0.05 to 1", facts.name, buffers ? ", buffers" : ""),
                  0.525, ShareDrawn(picture.image), 0.475);
    }
  }
}

void CheckPick(const OffscreenContext& context, const Gauges& gauges, Checks& checks) {
  PictureOptions options;
  options.style = Style::kMap;
  options.bare = true;
  options.width = options.height = 2 * kSide;
  const std::optional<PickedSample> sample = PickSample(context, gauges.cap, options, kSide, kSide);
  // The middle of the picture lies between four pixels, one and a quarter to the sample.
  checks.Near("cap", "column picked in the middle of the map", (CapGauge::kSize - 1) / 2,
              sample ? sample->column : std::nan(""), 1);
  checks.Near("cap", "its height", CapGauge::kPeak, sample ? sample->height : std::nan(""),
              kGaugeSpacing * kGaugeSpacing / CapGauge::kRadius + Rounding(CapGauge::kRadius));
}

void CheckCut(const OffscreenContext& context, const Gauges& gauges, Checks& checks) {
  constexpr double kLevel = 40;
  const Framebuffer framebuffer(context, kSide, kSide);
  double length = 0;
  for (const CutPiece& piece : MeshCut(gauges.mesh, PlaneOf(0, 0, 1, kLevel)).Pieces()) {
    length += std::hypot(piece.x2 - piece.x1, piece.y2 - piece.y1);
  }
  const double z = CapGauge::kRadius - (CapGauge::kPeak - kLevel);
  const double radius = std::sqrt(CapGauge::kRadius * CapGauge::kRadius - z * z);
  // As for the contour: the mesh lies below the sphere, here by no more than in the middle of a diagonal.
  const double off = 2 * kGaugeSpacing * kGaugeSpacing / (8 * z) / (radius / z);
  checks.Near("cap", "length of the outline cut from the mesh", 2 * std::numbers::pi * radius, length,
              2 * std::numbers::pi * off);
}

}  // namespace

void CheckDrawing(const Gauges& gauges, Checks& checks, GlBackend backend) {
  std::unique_ptr<OffscreenContext> context;
  try {
    // Loads the entry points, by InitGlew, and ends here where they cannot be.
    context = OffscreenContext::Create(backend);
  } catch (const Failure& failure) {
    checks.Skip(failure.what());
    return;
  }
  checks.Count("", "OpenGL 2.0 reported as missing", 0, IsExtensionSupported("GL_VERSION_2_0"));
  checks.Count("", "an extension that is none reported as missing", 1, IsExtensionSupported("GL_QV_NONE"));
  CheckLitPlane(*context, gauges, checks);
  CheckStyles(*context, gauges, checks);
  CheckPick(*context, gauges, checks);
  CheckCut(*context, gauges, checks);
}

}  // namespace qv3d

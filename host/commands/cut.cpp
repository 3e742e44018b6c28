// qv3d cut: the outline in which a plane cuts a mesh.
#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <limits>

#include "commands/options.h"
#include "drawing/mesh_cut.h"
#include "failure.h"
#include "files/mesh_repair.h"
#include "files/whole_file.h"
#include "plots/frame_axes.h"
#include "plots/style.h"
#include "report.h"
#include "units.h"

namespace qv3d {
namespace {

constexpr double kNotGiven = std::numeric_limits<double>::quiet_NaN();

struct CutOptions {
  std::filesystem::path file, output;
  std::string unit = "mm";
  std::vector<double> plane;
  double x = kNotGiven, y = kNotGiven, z = kNotGiven;
  int width = 1200;
  int height = 1000;
  GlBackend backend = GlBackend::kAutomatic;
  bool json = false, quiet = false;
};

CutPlane WantedPlane(const CutOptions& o) {
  if (!std::isnan(o.z)) return PlaneOf(0, 0, 1, o.z);
  if (!std::isnan(o.x)) return PlaneOf(1, 0, 0, o.x);
  // Seen along +y, so that x points to the right.
  if (!std::isnan(o.y)) return PlaneOf(0, -1, 0, -o.y);
  const std::vector<double>& p = o.plane;
  if (p[0] == 0 && p[1] == 0 && p[2] == 0) {
    throw Failure(ExitCode::kUsage, "--plane: a, b and c must not all be 0");
  }
  return PlaneOf(p[0], p[1], p[2], p[3]);
}

std::string NameOf(const CutOptions& o) {
  const std::string unit = UnitName(o.unit);
  if (!std::isnan(o.z)) return fmt::format("z = {:g} {}", o.z, unit);
  if (!std::isnan(o.x)) return fmt::format("x = {:g} {}", o.x, unit);
  if (!std::isnan(o.y)) return fmt::format("y = {:g} {}", o.y, unit);
  return fmt::format("{:g}·x + {:g}·y + {:g}·z = {:g} ({})", o.plane[0], o.plane[1], o.plane[2], o.plane[3],
                     unit);
}

/// The name of a coordinate axis, or a letter for a direction that is none.
std::string AxisOf(const Point& direction, const char* otherwise) {
  for (std::size_t k = 0; k < 3; ++k) {
    if (direction[k] > 1 - 1e-9) return std::string(1, "xyz"[k]);
  }
  return otherwise;
}

/// Which way the letters of AxisOf point; empty where they are the axes themselves.
std::string Directions(const CutPlane& plane) {
  std::string text;
  for (const auto& [direction, letter] : {std::pair(plane.right, "u"), std::pair(plane.up, "v")}) {
    if (!AxisOf(direction, "").empty()) continue;
    text += fmt::format("{}{} along ({:.3g}, {:.3g}, {:.3g})", text.empty() ? "" : ", ", letter, direction[0],
                        direction[1], direction[2]);
  }
  return text;
}

MeshContent Read(const CutOptions& options) {
  const std::string bytes = ReadWholeFile(options.file);
  MeshContent mesh = ReadMeshContent(RequireMesh(options.file, bytes), bytes);
  for (const Finding& f : mesh.check.findings) {
    if (f.severity != Severity::kError || f.code != ExitCode::kCorrupt) continue;
    if (!f.repairable) throw Failure(f.code, fmt::format("{}: {}", options.file.string(), f.what), f.advice);
    // What other commands have to mend is no obstacle to the program's own reader.
    fmt::print(stderr, "qv3d: warning: {}\n", f.what);
  }
  std::erase_if(mesh.triangles, [](const Triangle& t) {
    return !std::all_of(t.begin(), t.end(), [](float v) { return std::isfinite(v); });
  });
  return mesh;
}

/// The box around the outline.
struct Box {
  double left = HUGE_VAL, right = -HUGE_VAL, bottom = HUGE_VAL, top = -HUGE_VAL;

  explicit Box(const std::vector<CutPiece>& pieces) {
    for (const CutPiece& p : pieces) {
      left = std::min({left, p.x1, p.x2}), right = std::max({right, p.x1, p.x2});
      bottom = std::min({bottom, p.y1, p.y2}), top = std::max({top, p.y1, p.y2});
    }
  }
};

/// The frame around the outline, with some room, to one scale in both directions.
FrameAxes FrameOf(const CutOptions& options, const CutPlane& plane, const Box& box) {
  constexpr double kRoom = 1.1;
  const int u = TextSize(options.width, options.height);
  const double areaWidth = std::max(8, options.width - 10 * u),
               areaHeight = std::max(8, options.height - 13 * u);
  const double least = 1e-6 * std::max(box.right - box.left, box.top - box.bottom);
  const double width = kRoom * std::max(box.right - box.left, least);
  const double height = kRoom * std::max(box.top - box.bottom, least);
  // A thin outline still gets a frame that shows its place.
  constexpr double kThinnest = 0.1;
  const double w = std::max(width, kThinnest * height), h = std::max(height, kThinnest * width);
  const double scale = std::min(areaWidth / w, areaHeight / h);
  const double x = (box.left + box.right) / 2, y = (box.bottom + box.top) / 2;
  FrameAxes frame{};
  frame.width = static_cast<int>(w * scale);
  frame.height = static_cast<int>(h * scale);
  frame.x = 7 * u + static_cast<int>((areaWidth - frame.width) / 2);
  frame.y = 9 * u + static_cast<int>((areaHeight - frame.height) / 2);
  frame.left = x - w / 2;
  frame.right = x + w / 2;
  frame.bottom = y - h / 2;
  frame.top = y + h / 2;
  frame.xName = fmt::format("{} / {}", AxisOf(plane.right, "u"), UnitName(options.unit));
  frame.yName = fmt::format("{} / {}", AxisOf(plane.up, "v"), UnitName(options.unit));
  return frame;
}

Image Outline(const OffscreenContext& context, const MeshCut& cut, const FrameAxes& frame, int unit) {
  constexpr int kFinest = 8192;
  const int factor = std::max(frame.width, frame.height) * 2 <= kFinest ? 2 : 1;
  Framebuffer framebuffer(context, frame.width * factor, frame.height * factor);
  cut.Draw(frame.left, frame.right, frame.bottom, frame.top,
           static_cast<float>(factor) * std::max(1.5f, static_cast<float>(unit) / 9));
  const Image large = framebuffer.Read();
  return factor == 1 ? large : Downsample(large, factor);
}

/// False where it is without text.
bool WritePicture(const CutOptions& options, const OffscreenContext& context, const MeshCut& cut,
                  const CutPlane& plane, const Box& box, const std::string& facts) {
  const int u = TextSize(options.width, options.height);
  FrameAxes frame = FrameOf(options, plane, box);
  Image image(options.width, options.height, kPaper);
  ImageCanvas canvas(image);
  canvas.Text(2 * u, 2.5 * u, fmt::format("{}: cut", options.file.filename().string()), 3 * u / 2, kInk,
              Align::kLeft);
  canvas.Text(2 * u, 4.25 * u, fmt::format("{}; {}", NameOf(options), facts), u, kQuiet, Align::kLeft);
  canvas.Text(2 * u, 5.75 * u, Directions(plane), u, kQuiet, Align::kLeft);
  image.FillRectangle(frame.x - 1, frame.y - 1, frame.width + 2, frame.height + 2, kQuiet);
  image.Paste(Outline(context, cut, frame, u), frame.x, frame.y);
  DrawFrameAxes(canvas, frame, u);
  WritePng(options.output, image);
  return canvas.HasFont();
}

[[noreturn]] void RefuseMiss(const CutOptions& options, const Bounds& b) {
  throw Failure(
      ExitCode::kNotComputable, fmt::format("the plane {} does not cut the mesh", NameOf(options)),
      fmt::format("The mesh spans x {:g} to {:g}, y {:g} to {:g}, z {:g} to {:g}; faces that lie in the "
                  "plane are not cut.",
                  b.min[0], b.max[0], b.min[1], b.max[1], b.min[2], b.max[2]));
}

void PrintJson(const CutOptions& options, const CutPlane& plane, const std::vector<CutPiece>& pieces,
               double length, const Box& box, const char* context) {
  const Json json = {
      {"file", options.file.string()},
      {"unit", options.unit},
      {"plane",
       {{"normal", plane.normal}, {"offset", plane.offset}, {"right", plane.right}, {"up", plane.up}}},
      {"segments", pieces.size()},
      {"length", length},
      {"horizontal", {box.left, box.right}},
      {"vertical", {box.bottom, box.top}},
      {"picture",
       {{"file", options.output.string()},
        {"width", options.width},
        {"height", options.height},
        {"context", context}}}};
  fmt::print("{}\n", json.dump(2));
}

void RunCut(const CutOptions& options) {
  RequireExtension(options.output, {".png"});
  const CutPlane plane = WantedPlane(options);
  Progress progress(options.quiet);
  progress.Phase("reading the mesh");
  const MeshContent mesh = Read(options);
  progress.Phase("drawing");
  const std::unique_ptr<OffscreenContext> context = OffscreenContext::Create(options.backend);
  const MeshCut cut(mesh.triangles, plane);
  std::vector<CutPiece> pieces;
  {
    const Framebuffer bound(*context, 64, 64);
    pieces = cut.Pieces();
  }
  if (pieces.empty()) RefuseMiss(options, mesh.check.bounds);
  double length = 0;
  for (const CutPiece& p : pieces) length += std::hypot(p.x2 - p.x1, p.y2 - p.y1);
  const Box box(pieces);
  const std::string facts =
      fmt::format("{} segments, {:.6g} {} long together", pieces.size(), length, UnitName(options.unit));
  const bool hasText = WritePicture(options, *context, cut, plane, box, facts);
  progress.Finish();
  if (!hasText) fmt::print(stderr, kNoTextWarning);
  if (options.json) {
    PrintJson(options, plane, pieces, length, box, context->Name());
  } else {
    fmt::print("{}: {}\nwrote {}\n", NameOf(options), facts, options.output.string());
  }
}

}  // namespace

void AddCut(CLI::App& app, Invocation& invocation) {
  CLI::App& command = *app.add_subcommand("cut", "Draw the outline in which a plane cuts a mesh");
  const auto options = std::make_shared<CutOptions>();
  AddFileAndUnit(command, options->file, options->unit, "An STL or PLY file, binary or ASCII");
  AddOutputOptions(command, options->json, options->quiet);
  CLI::Option_group* const place =
      command.add_option_group("Plane", "Which plane, one of these, in the unit of the file");
  place->add_option("--plane", options->plane, "The points with a*x + b*y + c*z = d")
      ->delimiter(',')
      ->expected(4)
      ->type_name("a,b,c,d");
  place->add_option("--z", options->z, "Level, at this height");
  place->add_option("--x", options->x, "Across x");
  place->add_option("--y", options->y, "Across y");
  place->require_option(1);
  command.add_option("-o,--output", options->output, "The picture to write (.png)")->required();
  AddSizeOption(command, options->width, options->height);
  AddBackend(command, options->backend);
  OnCommand(command, invocation, options, RunCut);
}

}  // namespace qv3d

// The calls that a surface is drawn with, written down step by step: slow and obvious.
#pragma once

#include <bit>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/gl_recorder.h"

namespace qv::test::reference {

/// Everything that any of the drawing functions takes.
struct Scene {
  int width = 1, height = 1, colStep = 1, rowStep = 1;
  unsigned mode = 5;
  float zScale = 1, xOffset = 0, yOffset = 0, xSize = 1, ySize = 1;
  float zLevel = 0, clipMax = 0, clipMin = 0;
  double zScaleDouble = 1;
  int color = 0, slot = 0, location = -1;
  std::vector<float> h, normals, grey, rgb, tex, ao;
  std::vector<double> hDouble, normalsDouble, greyDouble, texDouble;
};

/// What one of them does with it.
struct Form {
  bool doubles = false, steps = false, holes = false, clipping = false;
  bool normal = false, grey = false, rgb = false, tex = false, image = false, darkened = false, flat = false;
  const char* attribute = nullptr;
  bool everySample = false;  ///< the simple loop: quad strips, no closing strip, state set before
};

class Walker {
 public:
  Walker(const Scene& scene, const Form& form) : s(scene), f(form) {
    colStep = form.everySample ? 1 : scene.colStep;
    rowStep = form.everySample ? 1 : form.steps ? scene.rowStep : scene.colStep;
    mode = form.everySample ? 8 : scene.mode;
  }

  GLCalls Calls() {
    if (s.width < 1 || s.height < 1 || colStep < 1 || rowStep < 1) return {};
    if (f.everySample) {
      Call("glEnable", {0x0BA1});
      Call("glColor3f", {0.5, 0.5, 0.5});
    }
    if (f.attribute != nullptr && s.slot >= 0 && s.slot < 40) {
      calls.push_back({"glGetAttribLocationARB", {1000.0 + s.slot}, f.attribute});
    }
    std::int64_t row = 0;
    for (; row < s.height - rowStep; row += rowStep) Strip(row, row + rowStep);
    if (!f.everySample && row != s.height + rowStep - 1) Strip(row, s.height - 1);
    return calls;
  }

 private:
  const Scene& s;
  const Form& f;
  std::int64_t colStep, rowStep;
  unsigned mode;
  GLCalls calls;

  void Call(const char* name, std::vector<double> arguments) {
    calls.push_back({name, std::move(arguments), {}});
  }

  bool Bad(std::int64_t i, std::int64_t j) const {
    const float z = s.h[static_cast<std::size_t>(j * s.width + i)];
    if (f.clipping && (z > s.clipMax || z < s.clipMin)) return true;
    return std::bit_cast<std::uint32_t>(z) == 0xD01502F9U;
  }

  void Emit(std::int64_t i, std::int64_t j) {
    const std::size_t k = static_cast<std::size_t>(j * s.width + i);
    if (f.doubles) return EmitDoubles(i, j, k);
    if (f.tex) Call("glTexCoord1f", {s.tex[k]});
    if (f.image) {
      Call("glTexCoord2f", {static_cast<float>(i) / static_cast<float>(s.width - 1),
                            static_cast<float>(j) / static_cast<float>(s.height - 1)});
    }
    if (f.grey) Call("glColor3f", {s.grey[k], s.grey[k], s.grey[k]});
    if (f.rgb) Call("glColor3f", {s.rgb[3 * k], s.rgb[3 * k + 1], s.rgb[3 * k + 2]});
    if (f.darkened) {
      const auto channel = [&](int shift) {
        return static_cast<float>((s.color >> shift) & 255) * 0.003921569F * s.ao[k];
      };
      Call("glColor3f", {channel(0), channel(8), channel(16)});
    }
    if (f.normal) Call("glNormal3f", {s.normals[3 * k], s.normals[3 * k + 1], s.normals[3 * k + 2]});
    if (f.attribute != nullptr && s.location >= 0 && s.slot >= 0 && s.slot < 40) {
      Call("glVertexAttrib1f", {static_cast<double>(s.location), s.ao[k]});
    }
    const float dx = s.xSize / static_cast<float>(s.width - 1),
                dy = s.ySize / static_cast<float>(s.height - 1);
    const float x = static_cast<float>(i) * dx + s.xOffset, y = static_cast<float>(j) * dy - s.yOffset;
    const float z = s.zScale * (f.flat ? s.zLevel : s.h[k]);
    Call("glVertex3f", {x, y, z});
  }

  void EmitDoubles(std::int64_t i, std::int64_t j, std::size_t k) {
    if (f.tex) Call("glTexCoord1d", {s.texDouble[k]});
    if (f.grey) Call("glColor3d", {s.greyDouble[k], s.greyDouble[k], s.greyDouble[k]});
    const double* n = &s.normalsDouble[3 * k];
    if (f.normal) Call("glNormal3d", {n[0], n[1], n[2]});
    const double x = static_cast<double>(i) / (s.width - 1) - 0.5,
                 y = static_cast<double>(j) / (s.height - 1) - 0.5;
    Call("glVertex3d", {x, y, f.everySample ? s.hDouble[k] : s.zScaleDouble * s.hDouble[k]});
  }

  void Strip(std::int64_t lower, std::int64_t upper) {
    if (f.holes) return StripAroundHoles(lower, upper);
    Call("glBegin", {static_cast<double>(mode)});
    std::int64_t i = 0;
    for (; i < s.width - colStep; i += colStep) {
      Emit(i, upper);
      Emit(i, lower);
    }
    if (i != s.width + colStep - 1) {
      Emit(s.width - 1, upper);
      Emit(s.width - 1, lower);
    }
    Call("glEnd", {});
  }

  void StripAroundHoles(std::int64_t L, std::int64_t U) {
    std::vector<std::int64_t> columns;
    for (std::int64_t i = 0; i < s.width - colStep; i += colStep) columns.push_back(i);
    columns.push_back(s.width - 1);
    Call("glBegin", {static_cast<double>(mode)});
    bool broken = false;
    for (std::size_t c = 0; c < columns.size(); ++c) {
      const std::int64_t i = columns[c];
      if (Bad(i, L) && !Bad(i, U)) {
        if (!broken) {
          Emit(i, U);
          Call("glEnd", {});
        }
        broken = true;
      } else if (!Bad(i, L) && Bad(i, U)) {
        if (!broken) {
          Emit(i, L);
          Call("glEnd", {});
        }
        broken = true;
      } else if (Bad(i, L) && Bad(i, U)) {
        if (!broken) Call("glEnd", {});
        broken = true;
      } else {
        if (broken) {
          Call("glBegin", {static_cast<double>(mode)});
          const std::int64_t p = columns[c - 1];
          if (!Bad(p, L) && Bad(p, U)) {
            Emit(p, L);
            Emit(p, L);
          }
          if (Bad(p, L) && !Bad(p, U)) {
            Emit(p, U);
            Emit(p, U);
          }
          broken = false;
        }
        Emit(i, L);
        Emit(i, U);
      }
    }
    if (!broken) Call("glEnd", {});
  }
};

}  // namespace qv::test::reference

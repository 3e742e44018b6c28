// Light computed for every pixel by a GLSL program in one of the library's shader slots.
#include <QV_3D.h>

#include "drawing/scene_parts.h"
#include "failure.h"
#include "files/temporary_file.h"
#include "files/whole_file.h"

namespace qv3d {
namespace {

constexpr int kSlot = 0;

constexpr const char* kVertexSource = R"(
attribute float ambient_occlusion;
varying vec3 normal;
varying vec3 up;
varying vec3 toViewer;
varying float height;
varying float open;
void main() {
  vec4 eye = gl_ModelViewMatrix * gl_Vertex;
  normal = gl_NormalMatrix * gl_Normal;
  up = gl_NormalMatrix * vec3(0.0, 0.0, 1.0);
  toViewer = -eye.xyz;
  height = gl_MultiTexCoord0.s;
  open = ambient_occlusion;
  gl_Position = ftransform();
}
)";

constexpr const char* kFragmentSource = R"(
uniform sampler1D colourMap;
varying vec3 normal;
varying vec3 up;
varying vec3 toViewer;
varying float height;
varying float open;
void main() {
  vec3 n = normalize(normal);
  vec3 lamp = normalize(gl_LightSource[0].position.xyz);
  vec3 between = normalize(lamp + normalize(toViewer));
  float sky = 0.5 + 0.5 * dot(n, normalize(up));
  float diffuse = max(dot(n, lamp), 0.0);
  float gloss = pow(max(dot(n, between), 0.0), 60.0);
  vec3 body = texture1D(colourMap, height).rgb;
  gl_FragColor = vec4(body * (0.42 * sky * open + 0.72 * diffuse) + vec3(0.22 * gloss), 1.0);
}
)";

/// A program in the slot and in use, for as long as it lives. The library reads shaders from files.
class ShaderProgram {
 public:
  ShaderProgram() {
    const TemporaryFile vertex = TemporaryFile::Create(), fragment = TemporaryFile::Create();
    WriteWholeFile(vertex.path(), kVertexSource);
    WriteWholeFile(fragment.path(), kFragmentSource);
    const unsigned result =
        InitShaders(kSlot, vertex.path().string().c_str(), fragment.path().string().c_str());
    if (result != 0) {
      ReleaseShader(kSlot);
      throw Failure(ExitCode::kNotComputable, "this OpenGL does not take the GLSL program",
                    "Choose another --style.");
    }
    TurnOn(kSlot);
  }
  ShaderProgram(const ShaderProgram&) = delete;
  ShaderProgram& operator=(const ShaderProgram&) = delete;
  ~ShaderProgram() {
    TurnOff();
    ReleaseShader(kSlot);
  }
};

}  // namespace

void DrawShaderStyle(const Scene& scene) {
  const Surface& s = scene.surface;
  const SceneOptions& o = scene.options;
  const std::vector<float> ao = OcclusionOfHeights(s);
  const auto [xOffset, yOffset, xSize, ySize] = PlacementOf(s.map);
  const ColourTexture texture;
  const ShaderProgram program;
  if (SetupUniformVariable(kSlot, 0, "colourMap") < 0) {
    throw Failure(ExitCode::kNotComputable, "the GLSL program could not be linked",
                  "Choose another --style.");
  }
  RenderSurfaceWithTextureAndNormalsf4(s.drawn.data(), s.normals.data(), s.texture.data(), s.map.width,
                                       s.map.height, o.columnStep, o.rowStep, GL_TRIANGLE_STRIP, 1, xOffset,
                                       yOffset, xSize, ySize, kSlot, ao.data());
}

}  // namespace qv3d

// Per-vertex streams in buffer objects, and index lists drawn from them or without them.
#include <cstddef>
#include <cstdint>

#include <GL/glew.h>

#include "exports/QV_3D.h"

namespace {

/// The bytes per vertex of the four streams.
constexpr int kVertexBytes = 12, kTexBytes = 4, kNormalBytes = 12, kColorBytes = 12;

bool CanUpload() {
  return glBindBufferARB != nullptr && glBufferDataARB != nullptr;
}

bool CanName() {
  return glGenBuffersARB != nullptr && glDeleteBuffersARB != nullptr;
}

void Rename(GLuint* buffer) {
  if (*buffer != 0) glDeleteBuffersARB(1, buffer);
  glGenBuffersARB(1, buffer);
}

void Upload(GLuint buffer, const float* values, int n, int bytesPerVertex) {
  glBindBufferARB(GL_ARRAY_BUFFER_ARB, buffer);
  glBufferDataARB(GL_ARRAY_BUFFER_ARB, static_cast<GLsizeiptrARB>(std::int64_t{n} * bytesPerVertex), values,
                  GL_STATIC_DRAW_ARB);
}

void Build(int use, GLuint* buffer, const float* values, int n, int bytesPerVertex) {
  if (use == 0) return;
  Rename(buffer);
  Upload(*buffer, values, n, bytesPerVertex);
}

void Refresh(int use, const GLuint* buffer, const float* values, int n, int bytesPerVertex) {
  if (use != 0) Upload(*buffer, values, n, bytesPerVertex);
}

void Release(GLuint* buffer) {
  if (*buffer == 0) return;
  glDeleteBuffersARB(1, buffer);
  *buffer = 0;
}

// ---------------------------------------------------------------------------------------------------------------
// Without buffers

struct Streams {
  const float* vertices;
  const float* normals;
  const float* tex;
  const float* rgb;
  const float* grey;
};

enum class Colour { kNone, kRgb, kGrey };

template <Colour kColour, bool kTex>
void DrawVertex(const Streams& streams, std::size_t index) {
  glNormal3fv(streams.normals + 3 * index);
  if constexpr (kColour == Colour::kGrey) {
    const float grey = streams.grey[index];
    glColor3f(grey, grey, grey);
  }
  if constexpr (kColour == Colour::kRgb) glColor3fv(streams.rgb + 3 * index);
  if constexpr (kTex) glTexCoord1f(streams.tex[index]);
  glVertex3fv(streams.vertices + 3 * index);
}

struct StripList {
  int count;
  const int* starts;
  const unsigned* indices;
  GLenum mode;
};

template <Colour kColour, bool kTex>
void DrawStrips(const StripList& strips, const Streams& given) {
  const Streams streams = given;  // a copy that no call can change
  for (std::ptrdiff_t strip = 0; strip < strips.count; ++strip) {
    const std::ptrdiff_t begin = strips.starts[strip], end = strips.starts[strip + 1];
    if (begin == end) continue;
    glBegin(strips.mode);
    for (std::ptrdiff_t i = begin; i < end; ++i) DrawVertex<kColour, kTex>(streams, strips.indices[i]);
    glEnd();
  }
}

template <Colour kColour>
void DrawStrips(const StripList& strips, const Streams& streams, bool useTex) {
  if (useTex) {
    DrawStrips<kColour, true>(strips, streams);
  } else {
    DrawStrips<kColour, false>(strips, streams);
  }
}

}  // namespace

unsigned QV_CALL BuildVBOs(int n, int useVertices, int useTex, int useNormals, int useColors,
                           const float* vertices, const float* tex, const float* normals, const float* colors,
                           unsigned* vertexBuffer, unsigned* texBuffer, unsigned* normalBuffer,
                           unsigned* colorBuffer) {
  if (!CanUpload() || !CanName()) return 0;
  Build(useVertices, vertexBuffer, vertices, n, kVertexBytes);
  Build(useTex, texBuffer, tex, n, kTexBytes);
  Build(useNormals, normalBuffer, normals, n, kNormalBytes);
  Build(useColors, colorBuffer, colors, n, kColorBytes);
  return 0;
}

unsigned QV_CALL VBOBufferData(int n, int useVertices, int useTex, int useNormals, int useColors,
                               const float* vertices, const float* tex, const float* normals,
                               const float* colors, unsigned* vertexBuffer, unsigned* texBuffer,
                               unsigned* normalBuffer, unsigned* colorBuffer) {
  if (!CanUpload()) return 0;
  Refresh(useVertices, vertexBuffer, vertices, n, kVertexBytes);
  Refresh(useTex, texBuffer, tex, n, kTexBytes);
  Refresh(useNormals, normalBuffer, normals, n, kNormalBytes);
  Refresh(useColors, colorBuffer, colors, n, kColorBytes);
  return 0;
}

/// The last buffer stays bound: kept, hosts unbind it themselves.
unsigned QV_CALL SetPointersToVBOBuffersARB(int useVertices, int useTex, int useNormals, int useColors,
                                            const unsigned* vertexBuffer, const unsigned* texBuffer,
                                            const unsigned* normalBuffer, const unsigned* colorBuffer) {
  if (glBindBufferARB == nullptr) return 0;
  const auto bind = [](int use, const unsigned* buffer) {
    if (use != 0) glBindBufferARB(GL_ARRAY_BUFFER_ARB, *buffer);
    return use != 0;
  };
  if (bind(useVertices, vertexBuffer)) glVertexPointer(3, GL_FLOAT, 0, nullptr);
  if (bind(useTex, texBuffer)) glTexCoordPointer(1, GL_FLOAT, 0, nullptr);
  if (bind(useNormals, normalBuffer)) glNormalPointer(GL_FLOAT, 0, nullptr);
  if (bind(useColors, colorBuffer)) glColorPointer(3, GL_FLOAT, 0, nullptr);
  return 0;
}

void QV_CALL DeleteVBOBuffers(unsigned* vertexBuffer, unsigned* texBuffer, unsigned* normalBuffer,
                              unsigned* colorBuffer) {
  if (glDeleteBuffersARB == nullptr) return;
  Release(vertexBuffer);
  Release(texBuffer);
  Release(normalBuffer);
  Release(colorBuffer);
}

void QV_CALL DrawRangeElements(unsigned mode, unsigned start, unsigned end, int count, unsigned type,
                               const void* indices) {
  if (glDrawRangeElements != nullptr) glDrawRangeElements(mode, start, end, count, type, indices);
}

int QV_CALL RenderImmediateMode(int stripCount, const int* stripStarts, const unsigned* indices,
                                const float* vertices, const float* normals, const float* tex,
                                const float* rgb, const float* grey, unsigned mode, int useTex, int useRgb,
                                int useGrey, int /*unused*/) {
  if (stripCount < 1) return stripCount;
  const StripList strips = {stripCount, stripStarts, indices, mode};
  const Streams streams = {vertices, normals, tex, rgb, grey};
  if (useGrey != 0) {
    DrawStrips<Colour::kGrey>(strips, streams, useTex != 0);
  } else if (useRgb != 0) {
    DrawStrips<Colour::kRgb>(strips, streams, useTex != 0);
  } else {
    DrawStrips<Colour::kNone>(strips, streams, useTex != 0);
  }
  return 0;
}

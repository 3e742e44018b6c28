// The framebuffer object that takes the place of a window.
#include <algorithm>
#include <cstddef>

#include <GL/gl.h>
#include <GL/glext.h>

#include "drawing/offscreen.h"
#include "failure.h"

namespace qv3d {

struct Framebuffer::Functions {
  PFNGLGENFRAMEBUFFERSPROC GenFramebuffers;
  PFNGLBINDFRAMEBUFFERPROC BindFramebuffer;
  PFNGLDELETEFRAMEBUFFERSPROC DeleteFramebuffers;
  PFNGLGENRENDERBUFFERSPROC GenRenderbuffers;
  PFNGLBINDRENDERBUFFERPROC BindRenderbuffer;
  PFNGLDELETERENDERBUFFERSPROC DeleteRenderbuffers;
  PFNGLRENDERBUFFERSTORAGEMULTISAMPLEPROC RenderbufferStorageMultisample;
  PFNGLFRAMEBUFFERRENDERBUFFERPROC FramebufferRenderbuffer;
  PFNGLCHECKFRAMEBUFFERSTATUSPROC CheckFramebufferStatus;
  PFNGLBLITFRAMEBUFFERPROC BlitFramebuffer;

  explicit Functions(const OffscreenContext& context) {
    Load(context, GenFramebuffers, "glGenFramebuffers");
    Load(context, BindFramebuffer, "glBindFramebuffer");
    Load(context, DeleteFramebuffers, "glDeleteFramebuffers");
    Load(context, GenRenderbuffers, "glGenRenderbuffers");
    Load(context, BindRenderbuffer, "glBindRenderbuffer");
    Load(context, DeleteRenderbuffers, "glDeleteRenderbuffers");
    Load(context, RenderbufferStorageMultisample, "glRenderbufferStorageMultisample");
    Load(context, FramebufferRenderbuffer, "glFramebufferRenderbuffer");
    Load(context, CheckFramebufferStatus, "glCheckFramebufferStatus");
    Load(context, BlitFramebuffer, "glBlitFramebuffer");
  }

  template <typename Function>
  static void Load(const OffscreenContext& context, Function& function, const char* name) {
    function = reinterpret_cast<Function>(context.Find(name));
    if (function == nullptr) {
      throw Failure(ExitCode::kNotComputable,
                    std::string("this OpenGL has no framebuffer objects (") + name + ")", GlAdvice());
    }
  }
};

struct Framebuffer::Target {
  const Functions& gl;
  GLuint name = 0;
  GLuint buffers[2] = {0, 0};

  Target(const Functions& functions, int width, int height, int samples) : gl(functions) {
    gl.GenFramebuffers(1, &name);
    gl.BindFramebuffer(GL_FRAMEBUFFER, name);
    gl.GenRenderbuffers(2, buffers);
    Attach(buffers[0], GL_RGBA8, GL_COLOR_ATTACHMENT0, width, height, samples);
    Attach(buffers[1], GL_DEPTH24_STENCIL8, GL_DEPTH_STENCIL_ATTACHMENT, width, height, samples);
    if (gl.CheckFramebufferStatus(GL_FRAMEBUFFER) != GL_FRAMEBUFFER_COMPLETE) {
      throw Failure(ExitCode::kNotComputable, "this OpenGL cannot draw a picture of that size off-screen",
                    "Choose a smaller --size.");
    }
  }
  Target(const Target&) = delete;
  Target& operator=(const Target&) = delete;
  ~Target() {
    gl.DeleteFramebuffers(1, &name);
    gl.DeleteRenderbuffers(2, buffers);
  }

  void Attach(GLuint buffer, GLenum format, GLenum attachment, int width, int height, int samples) const {
    gl.BindRenderbuffer(GL_RENDERBUFFER, buffer);
    gl.RenderbufferStorageMultisample(GL_RENDERBUFFER, samples, format, width, height);
    gl.FramebufferRenderbuffer(GL_FRAMEBUFFER, attachment, GL_RENDERBUFFER, buffer);
  }
};

Framebuffer::Framebuffer(const OffscreenContext& context, int width, int height)
    : gl_(std::make_unique<Functions>(context)), width_(width), height_(height) {
  constexpr GLint kWantedSamples = 4;
  GLint samples = 0;
  glGetIntegerv(GL_MAX_SAMPLES, &samples);
  samples = std::min(samples, kWantedSamples);
  if (samples > 1) resolved_ = std::make_unique<Target>(*gl_, width, height, 0);
  drawn_ = std::make_unique<Target>(*gl_, width, height, samples > 1 ? samples : 0);
  glViewport(0, 0, width, height);
}

Framebuffer::~Framebuffer() = default;

void Framebuffer::ReadPixels(unsigned format, std::uint8_t* bytes) {
  if (resolved_) {
    gl_->BindFramebuffer(GL_READ_FRAMEBUFFER, drawn_->name);
    gl_->BindFramebuffer(GL_DRAW_FRAMEBUFFER, resolved_->name);
    gl_->BlitFramebuffer(0, 0, width_, height_, 0, 0, width_, height_, GL_COLOR_BUFFER_BIT, GL_NEAREST);
    gl_->BindFramebuffer(GL_FRAMEBUFFER, resolved_->name);
  }
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glReadPixels(0, 0, width_, height_, format, GL_UNSIGNED_BYTE, bytes);
  if (resolved_) gl_->BindFramebuffer(GL_FRAMEBUFFER, drawn_->name);
}

// OpenGL's first row is the lowest one.
Image Framebuffer::Read() {
  const std::size_t row = 3 * static_cast<std::size_t>(width_);
  std::vector<std::uint8_t> bytes(row * static_cast<std::size_t>(height_));
  ReadPixels(GL_RGB, bytes.data());
  Image image(width_, height_);
  for (int y = 0; y < height_; ++y) {
    std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(row) * y, row, image.Pixel(0, height_ - 1 - y));
  }
  return image;
}

Image Framebuffer::ReadCoverage() {
  std::vector<std::uint8_t> alpha(static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_));
  ReadPixels(GL_ALPHA, alpha.data());
  Image image(width_, height_);
  auto at = alpha.begin();
  for (int y = height_ - 1; y >= 0; --y) {
    for (int x = 0; x < width_; ++x, ++at) std::fill_n(image.Pixel(x, y), 3, *at);
  }
  return image;
}

}  // namespace qv3d

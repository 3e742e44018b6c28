#include "tests/support/offscreen.h"

#include <GL/glew.h>

#include "exports/QV_3D.h"
#include "tests/support/offscreen_context.h"

namespace qv::test {

int Image::Count(Pixel pixel) const {
  int count = 0;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) count += At(x, y) == pixel ? 1 : 0;
  }
  return count;
}

Offscreen::Offscreen(int width, int height) : width_(width), height_(height), context_(new Context) {
  problem_ = context_->Open();
  if (!problem_.empty()) return;
  const unsigned result = InitGlew();
  if (result != 0) {
    problem_ = "InitGlew: " + std::to_string(result);
  } else {
    MakeFramebuffer();
  }
}

void Offscreen::MakeFramebuffer() {
  if (glGenFramebuffers == nullptr) {
    problem_ = "no framebuffer objects";
    return;
  }
  glGenFramebuffers(1, &framebuffer_);
  glBindFramebuffer(GL_FRAMEBUFFER, framebuffer_);
  glGenRenderbuffers(1, &color_);
  glBindRenderbuffer(GL_RENDERBUFFER, color_);
  glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, width_, height_);
  glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, color_);
  glGenRenderbuffers(1, &depth_);
  glBindRenderbuffer(GL_RENDERBUFFER, depth_);
  glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH24_STENCIL8, width_, height_);
  glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_STENCIL_ATTACHMENT, GL_RENDERBUFFER, depth_);
  if (glCheckFramebufferStatus(GL_FRAMEBUFFER) != GL_FRAMEBUFFER_COMPLETE)
    problem_ = "framebuffer not complete";
  glViewport(0, 0, width_, height_);
}

Offscreen::~Offscreen() {
  if (framebuffer_ != 0) {
    glDeleteFramebuffers(1, &framebuffer_);
    glDeleteRenderbuffers(1, &color_);
    glDeleteRenderbuffers(1, &depth_);
  }
  context_->Close();
  delete context_;
}

Image Offscreen::Read() const {
  Image image = {width_, height_, {}};
  image.rgb.resize(3 * static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_));
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glReadPixels(0, 0, width_, height_, GL_RGB, GL_UNSIGNED_BYTE, image.rgb.data());
  return image;
}

}  // namespace qv::test

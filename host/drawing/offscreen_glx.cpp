// OpenGL through GLX: on the X server of $DISPLAY, or on a virtual one that is started for the purpose.
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <GL/glx.h>

#include "drawing/gl_ways.h"

namespace qv3d {
namespace {

constexpr int kServerStartMilliseconds = 15000;

/// A virtual X server that ends with the object.
class VirtualServer {
 public:
  VirtualServer() = default;
  VirtualServer(const VirtualServer&) = delete;
  VirtualServer& operator=(const VirtualServer&) = delete;
  ~VirtualServer() {
    if (pid_ <= 0) return;
    kill(pid_, SIGTERM);
    while (waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
    }
  }

  /// The display's name, empty where the server is not installed or does not come up.
  std::string Start() {
    int ends[2];
    if (pipe(ends) != 0) return {};
    const pid_t parent = getpid();
    pid_ = fork();
    if (pid_ == 0) {
      close(ends[0]);
      Become(ends[1], parent);
    }
    close(ends[1]);
    const std::string number = ReadNumber(ends[0]);
    close(ends[0]);
    return number.empty() ? std::string() : ":" + number;
  }

 private:
  [[noreturn]] static void Become(int descriptor, pid_t parent) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent) _exit(1);
    if (const int nowhere = open("/dev/null", O_RDWR); nowhere >= 0) {
      dup2(nowhere, STDOUT_FILENO);
      dup2(nowhere, STDERR_FILENO);
    }
    const std::string number = std::to_string(descriptor);
    execlp("Xvfb", "Xvfb", "-displayfd", number.c_str(), "-screen", "0", "64x64x24", "-nolisten", "tcp",
           static_cast<char*>(nullptr));
    _exit(127);
  }

  /// The server writes its display number and a line feed once it accepts connections.
  static std::string ReadNumber(int descriptor) {
    std::string number;
    pollfd end{descriptor, POLLIN, 0};
    char c = 0;
    while (poll(&end, 1, kServerStartMilliseconds) > 0 && read(descriptor, &c, 1) == 1) {
      if (c == '\n') return number;
      number += c;
    }
    return {};
  }

  pid_t pid_ = -1;
};

/// libX11 is opened when it is there, so that the program starts without it.
struct X11 {
  void* library = dlopen("libX11.so.6", RTLD_NOW | RTLD_LOCAL);
  Display* (*Open)(const char*) = Load<Display* (*)(const char*)>("XOpenDisplay");
  int (*Close)(Display*) = Load<int (*)(Display*)>("XCloseDisplay");
  int (*Free)(void*) = Load<int (*)(void*)>("XFree");

  template <typename Function>
  Function Load(const char* name) {
    return library == nullptr ? nullptr : reinterpret_cast<Function>(dlsym(library, name));
  }
  bool IsComplete() const { return Open != nullptr && Close != nullptr && Free != nullptr; }
};

class GlxOffscreen : public OffscreenContext {
 public:
  ~GlxOffscreen() override {
    if (display_ == nullptr) return;
    glXMakeCurrent(display_, None, nullptr);
    if (context_ != nullptr) glXDestroyContext(display_, context_);
    if (buffer_ != None) glXDestroyPbuffer(display_, buffer_);
    x11_.Close(display_);
  }

  bool Open(std::string& reason) {
    if (!x11_.IsComplete()) return Refuse(reason, "libX11.so.6 is not installed");
    if (!Connect()) return Refuse(reason, "there is no X server, and Xvfb cannot be started");
    const int wanted[] = {
        GLX_DRAWABLE_TYPE, GLX_PBUFFER_BIT, GLX_RENDER_TYPE, GLX_RGBA_BIT, GLX_RED_SIZE, 8, None};
    int count = 0;
    GLXFBConfig* const configs = glXChooseFBConfig(display_, DefaultScreen(display_), wanted, &count);
    if (configs == nullptr || count < 1)
      return Refuse(reason, "the X server offers no OpenGL for off-screen use");
    const int size[] = {GLX_PBUFFER_WIDTH, 16, GLX_PBUFFER_HEIGHT, 16, None};
    buffer_ = glXCreatePbuffer(display_, configs[0], size);
    context_ = glXCreateNewContext(display_, configs[0], GLX_RGBA_TYPE, nullptr, True);
    x11_.Free(configs);
    if (context_ == nullptr || glXMakeContextCurrent(display_, buffer_, buffer_, context_) == False) {
      return Refuse(reason, "GLX cannot make an OpenGL context");
    }
    return true;
  }

  GlFunction Find(const char* name) const override {
    return glXGetProcAddressARB(reinterpret_cast<const GLubyte*>(name));
  }
  const char* Name() const override { return "GLX"; }

 private:
  bool Connect() {
    if (std::getenv("DISPLAY") != nullptr) display_ = x11_.Open(nullptr);
    if (display_ != nullptr) return true;
    const std::string name = server_.Start();
    if (!name.empty()) display_ = x11_.Open(name.c_str());
    return display_ != nullptr;
  }

  static bool Refuse(std::string& reason, const char* why) {
    reason = why;
    return false;
  }

  X11 x11_;
  VirtualServer server_;  // outlives the connection, which the destructor closes
  Display* display_ = nullptr;
  GLXPbuffer buffer_ = None;
  GLXContext context_ = nullptr;
};

}  // namespace

std::unique_ptr<OffscreenContext> CreateGlxContext(std::string& reason) {
  auto context = std::make_unique<GlxOffscreen>();
  if (!context->Open(reason)) return nullptr;
  return context;
}

}  // namespace qv3d

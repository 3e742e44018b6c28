// What InitGlew and IsExtensionSupported make of GLEW's answers. GLEW and the version query are stood in for
// through the linker's --wrap; the entry points are GLEW's own pointers.
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include <GL/glew.h>

#include "exports/QV_3D.h"

namespace {

struct Answers {
  bool realInit = false;
  GLenum init = GLEW_OK;
  bool versionKnown = true;
  GLboolean supported = GL_TRUE;
};
Answers answers;
std::vector<std::string> namesAsked;

}  // namespace

extern "C" {
GLenum GLEWAPIENTRY __real_glewInit();
GLenum GLEWAPIENTRY __wrap_glewInit() {
  return answers.realInit ? __real_glewInit() : answers.init;
}
const GLubyte* GLAPIENTRY __wrap_glGetString(GLenum name) {
  static const GLubyte version[] = "2.1";
  return name == GL_VERSION && answers.versionKnown ? version : nullptr;
}
GLboolean GLEWAPIENTRY __wrap_glewIsSupported(const char* names) {
  namesAsked.emplace_back(names);
  return answers.supported;
}
}

namespace {

void GLAPIENTRY GenBuffers(GLsizei /*n*/, GLuint* /*buffers*/) {}
void GLAPIENTRY BindBuffer(GLenum /*target*/, GLuint /*buffer*/) {}
void GLAPIENTRY BufferData(GLenum /*target*/, GLsizeiptrARB /*size*/, const void* /*data*/,
                           GLenum /*usage*/) {}
void GLAPIENTRY DeleteBuffers(GLsizei /*n*/, const GLuint* /*buffers*/) {}

class GlewAnswers : public testing::Test {
 protected:
  GlewAnswers() {
    answers = {};
    namesAsked.clear();
    __glewGenBuffersARB = &GenBuffers;
    __glewBindBufferARB = &BindBuffer;
    __glewBufferDataARB = &BufferData;
    __glewDeleteBuffersARB = &DeleteBuffers;
  }
};

TEST_F(GlewAnswers, InitGlew_ReturnsGlewsResult) {
  for (const GLenum result : {0U, 1U, 2U, 3U, 5U}) {
    answers.init = result;
    EXPECT_EQ(InitGlew(), result);
  }
}

TEST_F(GlewAnswers, InitGlew_NoGlxDisplayButAContext_Succeeds) {
  answers.init = GLEW_ERROR_NO_GLX_DISPLAY;
  EXPECT_EQ(InitGlew(), 0U);
}

TEST_F(GlewAnswers, InitGlew_NoGlxDisplayAndNoContext_Fails) {
  answers.init = GLEW_ERROR_NO_GLX_DISPLAY;
  answers.versionKnown = false;
  EXPECT_EQ(InitGlew(), 4U);
}

TEST_F(GlewAnswers, InitGlew_NoGlxDisplayAndBufferFunctionsMissing_Fails) {
  answers.init = GLEW_ERROR_NO_GLX_DISPLAY;
  __glewGenBuffersARB = nullptr;
  EXPECT_EQ(InitGlew(), 4U);
  __glewGenBuffersARB = &GenBuffers;
  __glewBindBufferARB = nullptr;
  EXPECT_EQ(InitGlew(), 4U);
  __glewBindBufferARB = &BindBuffer;
  __glewBufferDataARB = nullptr;
  EXPECT_EQ(InitGlew(), 4U);
  __glewBufferDataARB = &BufferData;
  __glewDeleteBuffersARB = nullptr;
  EXPECT_EQ(InitGlew(), 4U);
}

TEST_F(GlewAnswers, InitGlew_NoContext_GlewsOwnCode) {
  answers.realInit = true;
  EXPECT_EQ(InitGlew(), static_cast<unsigned>(GLEW_ERROR_NO_GL_VERSION));
}

TEST_F(GlewAnswers, IsExtensionSupported_AsksGlewForTheNames) {
  EXPECT_EQ(IsExtensionSupported("GL_VERSION_2_0 GL_ARB_shader_objects"), 0U);
  answers.supported = GL_FALSE;
  EXPECT_EQ(IsExtensionSupported(""), 1U);
  EXPECT_EQ(namesAsked, (std::vector<std::string>{"GL_VERSION_2_0 GL_ARB_shader_objects", ""}));
}

}  // namespace

// Shader slots over a stand-in for OpenGL that names objects, answers logs and errors, and records.
#include <algorithm>
#include <cstddef>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

#include <GL/glew.h>

#include "exports/QV_3D.h"
#include "render/shader_slots.h"
#include "tests/support/gl_object_recorder.h"
#include "tests/support/temporary_file.h"

namespace {

using qv::render::shaderSlots;
using qv::test::Call;
using qv::test::GLCalls;
using qv::test::TakeGLCalls;
using qv::test::TemporaryFile;

const int kOutside[] = {-1, 40, 41, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()};

class Shaders : public testing::Test {
 protected:
  Shaders() {
    qv::test::SetObjectEntryPoints(true);
    qv::test::glAnswers = {};
    shaderSlots = {};
    TakeGLCalls();
  }
  ~Shaders() override { qv::test::SetObjectEntryPoints(false); }

  unsigned Init(int slot = 3) const { return InitShaders(slot, vertexFile.name(), fragmentFile.name()); }

  const TemporaryFile vertexFile{"void main()\r\n{\n}\n"}, fragmentFile{std::string(10000, ' ') + "// end"};
};

GLCalls Compiled() {
  return {Call("glCreateShaderObjectARB", {GL_VERTEX_SHADER_ARB}),
          Call("glGetInfoLogARB", {100}),
          Call("glCreateShaderObjectARB", {GL_FRAGMENT_SHADER_ARB}),
          Call("glGetInfoLogARB", {101}),
          Call("glShaderSourceARB", {100, 1, 0}, "void main()\r\n{\n}\n"),
          Call("glShaderSourceARB", {101, 1, 0}, std::string(10000, ' ') + "// end"),
          Call("glCompileShaderARB", {100}),
          Call("glGetInfoLogARB", {100}),
          Call("glCompileShaderARB", {101}),
          Call("glGetInfoLogARB", {101}),
          Call("glCreateProgramObjectARB"),
          Call("glAttachObjectARB", {102, 100}),
          Call("glAttachObjectARB", {102, 101}),
          Call("glLinkProgramARB", {102})};
}

TEST_F(Shaders, InitShaders_CompilesAndLinksTheFiles) {
  EXPECT_EQ(Init(), 0U);
  EXPECT_EQ(TakeGLCalls(), Compiled());
  EXPECT_EQ(shaderSlots.vertex[3], 100U);
  EXPECT_EQ(shaderSlots.fragment[3], 101U);
  EXPECT_EQ(shaderSlots.program[3], 102U);
}

const GLCalls kReleased = {Call("glDetachObjectARB", {102, 100}), Call("glDeleteObjectARB", {100}),
                           Call("glDetachObjectARB", {102, 101}), Call("glDeleteObjectARB", {101}),
                           Call("glDeleteObjectARB", {102})};

TEST_F(Shaders, ReleaseShader_DeletesTheObjectsOnce) {
  Init();
  TakeGLCalls();
  EXPECT_EQ(ReleaseShader(3), 0U);
  EXPECT_EQ(TakeGLCalls(), kReleased);
  EXPECT_EQ(ReleaseShader(3), 0U);
  EXPECT_EQ(TakeGLCalls(), GLCalls{});
}

TEST_F(Shaders, InitShadersTwice_DeletesTheFirstObjectsFirst) {
  Init();
  TakeGLCalls();
  EXPECT_EQ(Init(), 0U);
  const auto calls = TakeGLCalls();
  ASSERT_EQ(calls.size(), kReleased.size() + Compiled().size());
  EXPECT_EQ(GLCalls(calls.begin(), calls.begin() + 5), kReleased);
  EXPECT_EQ(calls[5].name, "glCreateShaderObjectARB");
  EXPECT_EQ(shaderSlots.program[3], 105U);
}

TEST_F(Shaders, EachObjectAlone_IsReleased) {
  shaderSlots.vertex[3] = 7;
  EXPECT_EQ(ReleaseShader(3), 0U);
  EXPECT_EQ(TakeGLCalls(), (GLCalls{Call("glDetachObjectARB", {0, 7}), Call("glDeleteObjectARB", {7})}));
  EXPECT_EQ(shaderSlots.vertex[3], 0U);
  shaderSlots.fragment[3] = 8;
  EXPECT_EQ(ReleaseShader(3), 0U);
  EXPECT_EQ(TakeGLCalls(), (GLCalls{Call("glDetachObjectARB", {0, 8}), Call("glDeleteObjectARB", {8})}));
  EXPECT_EQ(shaderSlots.fragment[3], 0U);
  shaderSlots.program[3] = 9;
  EXPECT_EQ(ReleaseShader(3), 0U);
  EXPECT_EQ(TakeGLCalls(), (GLCalls{Call("glDeleteObjectARB", {9})}));
  EXPECT_EQ(shaderSlots.program[3], 0U);
}

TEST_F(Shaders, InitShadersWithOneObjectLeft_DeletesItFirst) {
  for (unsigned* left : {&shaderSlots.vertex[3], &shaderSlots.fragment[3], &shaderSlots.program[3]}) {
    shaderSlots = {};
    *left = 7;
    EXPECT_EQ(Init(), 0U);
    const auto calls = TakeGLCalls();
    const auto deleted = std::find(calls.begin(), calls.end(), Call("glDeleteObjectARB", {7}));
    ASSERT_NE(deleted, calls.end());
    EXPECT_EQ((deleted + 1)->name, "glCreateShaderObjectARB");
  }
}

TEST_F(Shaders, EmptyOrNullNames_FailBeforeAnyCall) {
  EXPECT_EQ(InitShaders(3, "", fragmentFile.name()), 1U);
  EXPECT_EQ(InitShaders(3, vertexFile.name(), ""), 1U);
  EXPECT_EQ(InitShaders(3, nullptr, fragmentFile.name()), 1U);
  EXPECT_EQ(InitShaders(3, vertexFile.name(), nullptr), 1U);
  EXPECT_EQ(TakeGLCalls(), GLCalls{});
  shaderSlots.vertex[3] = 7;  // stays: nothing was released
  EXPECT_EQ(InitShaders(3, "", ""), 1U);
  EXPECT_EQ(shaderSlots.vertex[3], 7U);
  EXPECT_EQ(TakeGLCalls(), GLCalls{});
}

TEST_F(Shaders, UnreadableFiles_AreEmptySources) {
  EXPECT_EQ(InitShaders(3, "no such file, surely", "."), 0U);
  int sources = 0;
  for (const auto& call : TakeGLCalls()) {
    if (call.name != "glShaderSourceARB") continue;
    ++sources;
    EXPECT_EQ(call.text, "");
  }
  EXPECT_EQ(sources, 2);
}

TEST_F(Shaders, LogAndErrorAtCreation_Fail) {
  qv::test::glAnswers.error = GL_INVALID_OPERATION;
  qv::test::glAnswers.infoLogs = {"something"};
  EXPECT_EQ(Init(), 1U);
  EXPECT_EQ(shaderSlots.vertex[3], 100U);  // kept for the next release
  EXPECT_EQ(shaderSlots.fragment[3], 0U);
  qv::test::glAnswers.infoLogs = {"", "something"};
  EXPECT_EQ(Init(), 2U);
}

TEST_F(Shaders, LogOrErrorAlone_IsNoFailure) {
  qv::test::glAnswers.error = GL_INVALID_OPERATION;
  EXPECT_EQ(Init(), 0U);
  qv::test::glAnswers.error = GL_NO_ERROR;
  qv::test::glAnswers.infoLogs = {"something", "something", "a warning", "a warning"};
  EXPECT_EQ(Init(), 0U);
}

TEST_F(Shaders, WordFailInACompileLog_FailsInAnyLetterCase) {
  for (const std::string log :
       {"fail", "Vertex shader FAILED to compile", "1:2: error, compilation Failed.\n"}) {
    qv::test::glAnswers.infoLogs = {"", "", log};
    EXPECT_EQ(Init(), 3U);
    EXPECT_EQ(shaderSlots.program[3], 0U);
    qv::test::glAnswers.infoLogs = {"", "", "", log};
    EXPECT_EQ(Init(), 4U);
  }
  TakeGLCalls();
  EXPECT_EQ(ReleaseShader(3), 0U);
  EXPECT_EQ(TakeGLCalls().size(), 4U);  // both shaders, no program
}

TEST_F(Shaders, AfterAFailure_NoFurtherCall) {
  const GLCalls all = Compiled();
  const struct {
    std::vector<std::string> logs;
    unsigned status;
    int calls;
  } failures[] = {{{"x"}, 1, 2}, {{"", "x"}, 2, 4}, {{"", "", "fail"}, 3, 8}, {{"", "", "", "fail"}, 4, 10}};
  qv::test::glAnswers.error = GL_INVALID_OPERATION;
  for (const auto& failure : failures) {
    shaderSlots = {};
    qv::test::glAnswers.nextName = 100;
    qv::test::glAnswers.infoLogs = failure.logs;
    EXPECT_EQ(Init(), failure.status);
    EXPECT_EQ(TakeGLCalls(), GLCalls(all.begin(), all.begin() + failure.calls)) << failure.status;
  }
}

TEST_F(Shaders, LongLog_IsReadUpTo999Characters) {
  qv::test::glAnswers.infoLogs = {"", "", std::string(995, '.') + "fail"};
  EXPECT_EQ(Init(), 3U);
  qv::test::glAnswers.infoLogs = {"", "", std::string(996, '.') + "fail"};
  EXPECT_EQ(Init(), 0U);
}

TEST_F(Shaders, TurnOnAndOff_UseTheSlotsProgram) {
  Init();
  TakeGLCalls();
  EXPECT_EQ(TurnOn(3), 0U);
  EXPECT_EQ(TurnOn(4), 0U);
  EXPECT_EQ(TurnOff(), 0U);
  EXPECT_EQ(TakeGLCalls(), (GLCalls{Call("glUseProgramObjectARB", {102}), Call("glUseProgramObjectARB", {0}),
                                    Call("glUseProgramObjectARB", {0})}));
}

TEST_F(Shaders, SetupUniformVariable_SetsWhatTheProgramHasAndBindsNothing) {
  Init();
  TakeGLCalls();
  EXPECT_EQ(SetupUniformVariable(3, 5, "colours"), -1);
  EXPECT_EQ(TakeGLCalls(), (GLCalls{Call("glGetUniformLocationARB", {102}, "colours")}));
  qv::test::glAnswers.uniformLocation = 0;
  EXPECT_EQ(SetupUniformVariable(3, 5, nullptr), 0);
  EXPECT_EQ(TakeGLCalls(),
            (GLCalls{Call("glGetUniformLocationARB", {102}, ""), Call("glUniform1iARB", {0, 5})}));
}

TEST_F(Shaders, SlotsOutsideTheTable_MakeNoCall) {
  for (const int slot : kOutside) {
    EXPECT_EQ(Init(slot), 1U);
    EXPECT_EQ(ReleaseShader(slot), 0U);
    EXPECT_EQ(TurnOn(slot), 0U);
    EXPECT_EQ(SetupUniformVariable(slot, 1, "x"), -1);
  }
  EXPECT_EQ(TakeGLCalls(), GLCalls{});
  EXPECT_EQ(Init(0), 0U);
  EXPECT_EQ(Init(39), 0U);
}

TEST_F(Shaders, FunctionsNotLoaded_MakeNoCall) {
  qv::test::SetObjectEntryPoints(false);
  EXPECT_EQ(Init(), 1U);
  EXPECT_EQ(ReleaseShader(3), 0U);
  EXPECT_EQ(TurnOn(3), 0U);
  EXPECT_EQ(TurnOff(), 0U);
  EXPECT_EQ(SetupUniformVariable(3, 1, "x"), -1);
  EXPECT_EQ(TakeGLCalls(), GLCalls{});
}

TEST_F(Shaders, OneFunctionNotLoaded_MakesNoCall) {
  const auto expectNothing = [](auto& function, unsigned failure, auto call) {
    qv::test::SetObjectEntryPoints(true);
    function = nullptr;
    shaderSlots = {};
    shaderSlots.vertex[4] = 7;
    EXPECT_EQ(static_cast<unsigned>(call()), failure);
    EXPECT_EQ(TakeGLCalls(), GLCalls{});
    EXPECT_EQ(shaderSlots.vertex[4], 7U);
  };
  const auto init = [this] { return Init(4); };
  expectNothing(__glewCreateShaderObjectARB, 1, init);
  expectNothing(__glewGetInfoLogARB, 1, init);
  expectNothing(__glewShaderSourceARB, 1, init);
  expectNothing(__glewCompileShaderARB, 1, init);
  expectNothing(__glewCreateProgramObjectARB, 1, init);
  expectNothing(__glewAttachObjectARB, 1, init);
  expectNothing(__glewLinkProgramARB, 1, init);
  expectNothing(__glewDetachObjectARB, 1, init);
  expectNothing(__glewDeleteObjectARB, 1, init);
  const auto release = [] { return ReleaseShader(4); };
  expectNothing(__glewDetachObjectARB, 0, release);
  expectNothing(__glewDeleteObjectARB, 0, release);
  const auto setUniform = [] { return SetupUniformVariable(4, 1, "x"); };
  qv::test::glAnswers.uniformLocation = 0;
  expectNothing(__glewGetUniformLocationARB, ~0U, setUniform);
  expectNothing(__glewUniform1iARB, ~0U, setUniform);
}

}  // namespace

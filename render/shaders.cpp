// Shader programs from files, by slot number.
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>

#include <GL/glew.h>

#include "exports/QV_3D.h"
#include "render/shader_slots.h"

namespace {

using qv::render::IsShaderSlot;
using qv::render::shaderSlots;

bool CanBuild() {
  return glCreateShaderObjectARB != nullptr && glGetInfoLogARB != nullptr && glShaderSourceARB != nullptr &&
         glCompileShaderARB != nullptr && glCreateProgramObjectARB != nullptr &&
         glAttachObjectARB != nullptr && glLinkProgramARB != nullptr;
}

bool CanRelease() {
  return glDetachObjectARB != nullptr && glDeleteObjectARB != nullptr;
}

bool IsEmpty(const char* name) {
  return name == nullptr || *name == '\0';
}

/// The whole file, byte for byte; nothing where it cannot be read or held.
std::string ReadText(const char* name) {
  std::string text;
  std::FILE* file = std::fopen(name, "rb");
  if (file == nullptr) return text;
  try {
    char block[4096];
    std::size_t count = 0;
    while ((count = std::fread(block, 1, sizeof block, file)) > 0) text.append(block, count);
  } catch (const std::bad_alloc&) {
    text.clear();
  }
  std::fclose(file);
  return text;
}

/// What the driver says about an object, cut after 999 characters.
struct InfoLog {
  static constexpr int kCharacters = 999;
  char text[kCharacters + 1] = {};

  explicit InfoLog(GLhandleARB object) {
    GLsizei length = 0;
    glGetInfoLogARB(object, kCharacters + 1, &length, text);
    text[kCharacters] = '\0';
  }

  bool Empty() const { return text[0] == '\0'; }

  /// In any letter case. Drivers that compile with warnings only do not write the word.
  bool SaysFail() {
    for (char& c : text) {
      if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return std::strstr(text, "fail") != nullptr;
  }
};

/// A new object goes into its entry whether or not it is of use: the next release deletes it.
bool Create(GLenum type, unsigned& entry) {
  entry = glCreateShaderObjectARB(type);
  return InfoLog(entry).Empty() || glGetError() == GL_NO_ERROR;
}

void SetSource(unsigned shader, const std::string& text) {
  const GLcharARB* source = text.c_str();
  glShaderSourceARB(shader, 1, &source, nullptr);
}

bool Compile(unsigned shader) {
  glCompileShaderARB(shader);
  return !InfoLog(shader).SaysFail();
}

/// A failure to link is not looked for: the host sees it when it draws.
void Link(int slot) {
  const unsigned program = glCreateProgramObjectARB();
  shaderSlots.program[slot] = program;
  glAttachObjectARB(program, shaderSlots.vertex[slot]);
  glAttachObjectARB(program, shaderSlots.fragment[slot]);
  glLinkProgramARB(program);
}

bool IsFree(int slot) {
  return shaderSlots.vertex[slot] == 0 && shaderSlots.fragment[slot] == 0 && shaderSlots.program[slot] == 0;
}

void ReleaseShaderObject(unsigned program, unsigned& shader) {
  if (shader == 0) return;
  glDetachObjectARB(program, shader);
  glDeleteObjectARB(shader);
  shader = 0;
}

void ReleaseSlot(int slot) {
  unsigned& program = shaderSlots.program[slot];
  ReleaseShaderObject(program, shaderSlots.vertex[slot]);
  ReleaseShaderObject(program, shaderSlots.fragment[slot]);
  if (program == 0) return;
  glDeleteObjectARB(program);
  program = 0;
}

}  // namespace

unsigned QV_CALL InitShaders(int slot, const char* vertexShaderFile, const char* fragmentShaderFile) {
  if (!IsShaderSlot(slot) || IsEmpty(vertexShaderFile) || IsEmpty(fragmentShaderFile)) return 1;
  if (!CanBuild() || !CanRelease()) return 1;
  if (!IsFree(slot)) ReleaseSlot(slot);
  unsigned& vertex = shaderSlots.vertex[slot];
  unsigned& fragment = shaderSlots.fragment[slot];
  if (!Create(GL_VERTEX_SHADER_ARB, vertex)) return 1;
  if (!Create(GL_FRAGMENT_SHADER_ARB, fragment)) return 2;
  SetSource(vertex, ReadText(vertexShaderFile));
  SetSource(fragment, ReadText(fragmentShaderFile));
  if (!Compile(vertex)) return 3;
  if (!Compile(fragment)) return 4;
  Link(slot);
  return 0;
}

unsigned QV_CALL ReleaseShader(int slot) {
  if (IsShaderSlot(slot) && CanRelease()) ReleaseSlot(slot);
  return 0;
}

unsigned QV_CALL TurnOn(int slot) {
  if (IsShaderSlot(slot) && glUseProgramObjectARB != nullptr) {
    glUseProgramObjectARB(shaderSlots.program[slot]);
  }
  return 0;
}

unsigned QV_CALL TurnOff() {
  if (glUseProgramObjectARB != nullptr) glUseProgramObjectARB(0);
  return 0;
}

/// Binds nothing: the value lands in the program in use.
int QV_CALL SetupUniformVariable(int slot, int value, const char* uniformName) {
  if (!IsShaderSlot(slot) || glGetUniformLocationARB == nullptr || glUniform1iARB == nullptr) return -1;
  const char* name = uniformName == nullptr ? "" : uniformName;
  const GLint location = glGetUniformLocationARB(shaderSlots.program[slot], name);
  if (location > -1) glUniform1iARB(location, value);
  return location;
}

#include "commands/commands.h"

namespace qv3d {

const Program& ThisProgram() {
  static const Program kProgram{
      "Checks an installation of QV_3D.\n"
      "All other commands belong to the program for Linux.",
      "selftest",
      {AddSelftest}};
  return kProgram;
}

}  // namespace qv3d

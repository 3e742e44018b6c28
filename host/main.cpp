// qv3d, the reference host program of QV_3D: measures and draws meshes from the command line. It uses the
// library as any program would, through its header and its shared object alone.
#include "command_line.h"

int main(int argc, char** argv) {
  return static_cast<int>(qv3d::RunCommandLine(argc, argv));
}

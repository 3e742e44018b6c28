#include "commands/commands.h"

namespace qv3d {

const Program& ThisProgram() {
  static const Program kProgram{
      "Measures and draws surfaces given as height maps or meshes.\n"
      "A mesh is converted to a height map (seen along z). Maps are levelled, measured and drawn; no "
      "display is needed.",
      "demo",
      {AddDemo,    AddInfo,     AddStats,         AddMesh2Grid, AddConvert,   AddPoints2Grid,
       AddRender,  AddSpectrum, AddAutocorrelate, AddFftFilter, AddFilter,    AddPick,
       AddGallery, AddContour,  AddSection,       AddCut,       AddRoundness, AddResample,
       AddPipe,    AddReport,   AddSelftest,      AddSteps}};
  return kProgram;
}

}  // namespace qv3d

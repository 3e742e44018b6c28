// qv3d render: a picture of a mesh's height map.
#include <fmt/format.h>

#include "commands/commands.h"
#include "load.h"
#include "report.h"

namespace qv3d {

void RunRender(const RenderOptions& options) {
  Progress progress(options.import.quiet);
  const LoadedMap loaded = LoadHeightMap(options.import, progress);
  PictureOptions wanted = options.picture;
  wanted.unit = options.import.unit;
  if (wanted.title.empty()) wanted.title = options.import.file.filename().string();
  progress.Phase("drawing");
  // Only now: the import's child process must not inherit a driver.
  const std::unique_ptr<OffscreenContext> context = OffscreenContext::Create(options.backend);
  const Picture picture = DrawPicture(*context, loaded.map, wanted);
  progress.Phase("writing the picture");
  WritePng(options.output, picture.image);
  progress.Finish();
  if (!picture.hasText) fmt::print(stderr, kNoTextWarning);
  if (options.import.json) {
    const Json json = {{"file", options.import.file.string()},
                       {"unit", options.import.unit},
                       {"mesh", JsonOf(loaded.mesh)},
                       {"mended", loaded.prepared.actions},
                       {"grid", JsonOfGrid(loaded)},
                       {"picture",
                        {{"file", options.output.string()},
                         {"width", picture.image.width()},
                         {"height", picture.image.height()},
                         {"zScale", picture.zScale},
                         {"context", context->Name()}}}};
    fmt::print("{}\n", json.dump(2));
  } else {
    fmt::print("wrote {} ({} x {} pixels, heights {}x)\n", options.output.string(), picture.image.width(),
               picture.image.height(), fmt::format("{:g}", picture.zScale));
  }
}

}  // namespace qv3d

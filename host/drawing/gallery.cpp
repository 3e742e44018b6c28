#include "drawing/gallery.h"

#include <algorithm>
#include <fmt/format.h>

#include "plots/style.h"
#include "plots/text.h"

namespace qv3d {
namespace {

constexpr int kColumns = 4;

struct Entry {
  std::string name, caption;
  PictureOptions options;
};

/// Every style, and what can be added to any of them.
std::vector<Entry> Entries(const PictureOptions& common) {
  std::vector<Entry> entries;
  for (const StyleFacts& facts : AllStyles()) {
    entries.push_back({facts.name, facts.description, common});
    entries.back().options.style = facts.style;
  }
  Entry contours{"texture --contours 4", "contour lines over any style", common};
  contours.options.contours = 4;
  Entry checker{"map --contours 4 --background checker", "and on the map", common};
  checker.options.style = Style::kMap;
  checker.options.contours = 4;
  checker.options.background = Background::kChecker;
  entries.push_back(contours);
  entries.push_back(checker);
  return entries;
}

}  // namespace

Picture DrawGallery(const OffscreenContext& context, const HeightMap& map, const PictureOptions& options,
                    Progress& progress) {
  PictureOptions common = options;
  common.bare = true;
  const std::vector<Entry> entries = Entries(common);
  const int rows = (static_cast<int>(entries.size()) + kColumns - 1) / kColumns;
  const int text = std::max(8, options.width / 100), top = 3 * text;
  const int cellWidth = options.width / kColumns, cellHeight = (options.height - top) / rows;
  Picture sheet{Image(options.width, options.height, kPaper), 0, true};
  Font font;
  sheet.hasText = font.IsAvailable();
  font.Draw(sheet.image, text, 2 * text, options.title, 3 * text / 2, kInk);
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const Entry& entry = entries[i];
    progress.Phase(fmt::format("drawing {}", entry.name));
    PictureOptions wanted = entry.options;
    wanted.width = std::max(8, cellWidth - text);
    wanted.height = std::max(8, cellHeight - 3 * text - text / 2);
    const int x = static_cast<int>(i % kColumns) * cellWidth + text / 2;
    const int y = top + static_cast<int>(i / kColumns) * cellHeight;
    const Picture picture = DrawPicture(context, map, wanted);
    sheet.zScale = picture.zScale;
    sheet.image.Paste(picture.image, x, y);
    font.Draw(sheet.image, x + text / 2, y + wanted.height + 5 * text / 4, entry.name, text, kInk);
    font.Draw(sheet.image, x + text / 2, y + wanted.height + 5 * text / 2, entry.caption, text, kQuiet);
    progress.Tick();
  }
  return sheet;
}

}  // namespace qv3d

// hgvtool thumbnail CLIP OUT.png SIZE: frame 0 of a clip, opened as the window opens it, shrunk
// to fit SIZE x SIZE, for the file manager's thumbnails.

#include <ostream>

#include "app/hgvtool_commands.h"
#include "app/hgvtool_support.h"
#include "toolkit/core/image.h"

namespace app {

int runThumbnail(const Args& args, std::ostream& out, std::ostream& err) {
  (void)out;
  long long size = 0;
  if (args.size() != 3 || !parseInt(args[2], size) || size < 1 || size > 4096) {
    err << "usage: hgvtool thumbnail CLIP OUT.png SIZE   (SIZE from 1 to 4096 pixels)\n";
    return 2;
  }
  ToolSession session(err);
  if (!session.openClip(args[0])) return 1;
  const toolkit::RgbImage picture = session.openedPicture();
  if (picture.empty()) return 1;
  const int side = static_cast<int>(size);
  const toolkit::Size fit = toolkit::fitWithin(picture.width, picture.height, side, side);
  const toolkit::RgbImage thumbnail = toolkit::shrinkImage(picture, fit.width, fit.height);
  return writeFileAtomically(args[1], toolkit::encodePng(thumbnail), err) ? 0 : 1;
}

}  // namespace app

// hgvtool thumbnail CLIP OUT.png SIZE: frame 0 of a clip, opened as the window opens it, shrunk
// to fit SIZE x SIZE, for the file manager's thumbnails.

#include <optional>
#include <ostream>
#include <span>

#include "app/hgvtool_commands.h"
#include "app/hgvtool_support.h"
#include "review/open_clip.h"
#include "search/driver/tool_session.h"
#include "toolkit/core/image.h"
#include "toolkit/core/jpeg_decoding.h"
#include "toolkit/core/runtime_error.h"

namespace app {

using search::ToolSession;

namespace {

// The thumbnail of "Temp.jpg" as the window's LoadPicture takes it, a bitmap file or a JPEG,
// made from as much of the picture as it needs. Raises "Invalid picture" when there is none;
// `tooCostly` says when the JPEG was refused.
toolkit::RgbImage thumbnailOf(std::span<const std::uint8_t> file, int side, bool& tooCostly) {
  std::optional<toolkit::RgbImage> picture;
  toolkit::Size fit;
  if (file.size() >= 2 && file[0] == 'B' && file[1] == 'M') {
    picture = toolkit::decodeBmp(file);
    if (picture) fit = toolkit::fitWithin(picture->width, picture->height, side, side);
  } else {
    toolkit::JpegFailure failure = toolkit::JpegFailure::Undecodable;
    toolkit::Size full;
    picture = toolkit::decodeJpegCovering(file, side, side, full, &failure);
    tooCostly = !picture && failure == toolkit::JpegFailure::TooCostly;
    fit = toolkit::fitWithin(full.width, full.height, side, side);
  }
  if (!picture) throw toolkit::RuntimeError::of(toolkit::ErrorNumber::InvalidPicture);
  return toolkit::shrinkImage(*picture, fit.width, fit.height);
}

struct ThumbnailCommand {
  std::vector<std::string> args;  // CLIP OUT.png SIZE
  CommandLine line{"hgvtool thumbnail"};
  ThumbnailCommand() {
    line.positionals("CLIP OUT.png SIZE", args, 3);
    line.note("SIZE from 1 to 4096 pixels");
  }
};

}  // namespace

int runThumbnail(const Args& arguments, std::ostream& out, std::ostream& err) {
  (void)out;
  ThumbnailCommand command;
  long long size = 0;
  if (!command.line.parse(arguments) || !parseInt(command.args[2], size) || size < 1 ||
      size > 4096) {
    err << command.line.usage();
    return 2;
  }
  const Args& args = command.args;
  const int side = static_cast<int>(size);
  ToolSession tool(err);
  // The clip is opened as ToolSession::openClip opens it, with the same boxes, but frame 0 is
  // decoded no larger than the thumbnail needs.
  toolkit::RgbImage thumbnail;
  bool tooCostly = false;
  try {
    review::Session& session = tool.session();
    if (review::OpenClipFile(session, args[0]) != review::OpenResult::Extracted) return 1;
    thumbnail = thumbnailOf(session.SeparateMJPG.scratch().jpegFile(), side, tooCostly);
  } catch (const toolkit::RuntimeError& e) {
    tool.platform().messages.show(
        toolkit::MessageBoxRequest::critical(toolkit::errorBoxText(review::kOpenHandlerName, e)));
    if (tooCostly) err << "hgvtool: frame 0 was refused: too costly to decode\n";
    return 1;
  }
  return writeFileAtomically(args[1], toolkit::encodePng(thumbnail), err) ? 0 : 1;
}

std::string thumbnailSynopsis(std::size_t indent) {
  return ThumbnailCommand().line.synopsis(indent);
}

}  // namespace app

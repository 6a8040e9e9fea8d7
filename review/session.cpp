#include "review/session.h"

#include "review/open_clip.h"

namespace review {

using toolkit::kFalse;
using toolkit::kTrue;

void loadStartingValues(Session& session, Form1Fields& fields) {
  fields.PlayingForward = kFalse;
  fields.PlayingBack = kFalse;
  session.OpenSaveFile.ZoomActive = kFalse;
  fields.FirstClipPending = kTrue;
  fields.SettingsShown = kFalse;
  fields.SearchCellSize = 16;
  fields.ZoomPercent = 100;
}

OpenResult OpenClipFile(Session& session, const std::string& path) {
  OpenSaveFile& o = session.OpenSaveFile;
  clip::SeparateMJPG& clip = session.SeparateMJPG;
  if (clip::SeparateMJPG::isClipFile(session.platform.files, path)) {
    o.ClipFileName = path;
    o.ClipOpen = clip.InitialAviInfo(o.ClipFileName);
    if (o.ClipOpen == kFalse) return OpenResult::Refused;
  } else {
    // A video that cannot be opened leaves the session as it was.
    if (clip.OpenVideo(path) == kFalse) return OpenResult::VideoRefused;
    o.ClipFileName = path;
    o.ClipOpen = kTrue;
  }
  o.TotalFrames = clip.SaveAviChunk(o.ClipFileName);
  if (o.TotalFrames == Long(0)) {
    if (!clip.scanShowedBox()) {
      session.platform.messages.show(
          toolkit::MessageBoxRequest::critical(kNoFramesText, "Warning"));
    }
    return OpenResult::NoFrames;
  }
  o.CurrentFrame = 0;
  o.CurrentFrameFile = clip.ExtractCurrentJpg(o.ClipFileName, o.CurrentFrame);
  if (!session.platform.files.exists(o.CurrentFrameFile)) return OpenResult::NoPicture;
  return OpenResult::Extracted;
}

}  // namespace review

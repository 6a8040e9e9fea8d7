// hgvtool export: the Save dialog's exports without a window, from a chosen current picture.

#include <CLI/CLI.hpp>
#include <climits>
#include <ostream>

#include "app/hgvtool_commands.h"
#include "app/hgvtool_support.h"
#include "export/core/exports.h"
#include "search/driver/tool_session.h"
#include "toolkit/core/runtime_error.h"

namespace app {

using search::ToolSession;

namespace {

enum class Kind { None, Jpg, Hgv, Wmv };

struct ExportOptions {
  std::vector<std::string> clip;
  long long frame = -1;
  Kind kind = Kind::None;
  std::string out;
  long long count = 50;
};

struct ExportCommand {
  ExportOptions o;
  CommandLine line{"hgvtool export"};
  ExportCommand() {
    line.positionals("CLIP", o.clip, 1);
    line.number("--frame", "N", o.frame, 0, LLONG_MAX)->required();
    const auto kind = [this](Kind k) {
      return [this, k](const std::string& path) { return o.kind = k, o.out = path, true; };
    };
    line.oneOf(
        {line.value("--jpg", "OUT", kind(Kind::Jpg)), line.value("--hgv", "OUT", kind(Kind::Hgv)),
         line.value("--wmv", "OUT", kind(Kind::Wmv))},
        true);
    line.number("--count", "K", o.count, 1, 32767);
    line.note("N counts from 0; K frames from it (default 50), fewer where the clip ends first");
  }
};

}  // namespace

int runExport(const Args& args, std::ostream& out, std::ostream& err) {
  ExportCommand command;
  if (!command.line.parse(args)) {
    err << command.line.usage();
    return 2;
  }
  const ExportOptions& o = command.o;
  ToolSession tool(err);
  if (!tool.openClip(o.clip[0])) return 1;
  review::Session& session = tool.session();
  clip::SeparateMJPG& clip = session.SeparateMJPG;
  const int total = session.OpenSaveFile.TotalFrames.value();
  if (o.frame >= total) {
    err << "hgvtool: --frame takes 0 to " << total - 1 << "\n";
    return 2;
  }
  toolkit::FileSystem& files = tool.platform().files;
  try {
    // The frame becomes the current picture as a step onto it would make it.
    session.OpenSaveFile.CurrentFrameFile =
        clip.ExtractCurrentJpg(clip.ClipPath, static_cast<int>(o.frame));
    const auto length = static_cast<std::int32_t>(o.count);
    const exporting::ExportRange range = exporting::exportRange(clip, length);
    switch (o.kind) {
      case Kind::Jpg:
        exporting::CopyCurrentJpg(clip, files, o.out);
        out << "Image File Successfully Created: " << o.out << "\n";
        break;
      case Kind::Hgv:
        exporting::ExportHgvClip(clip, files, o.out, length);
        out << "Harrowglen Video File Successfully Created: " << o.out << ", " << range.count
            << " frames from frame " << range.first << "\n";
        break;
      case Kind::Wmv:
        exporting::TOWMV(clip, files, clip.ClipPath, o.out, 1, range.first, range.count,
                         clip.ClipWidth.value(), clip.ClipHeight.value());
        out << "Converted: " << o.out << ", " << range.count << " frames from frame " << range.first
            << "\n";
        break;
      case Kind::None:
        break;
    }
  } catch (const exporting::ExportFailure& e) {
    err << e.what() << "\n";
    return 1;
  } catch (const toolkit::RuntimeError& e) {
    err << "hgvtool: frame " << o.frame << ": Error " << e.number() << ": " << e.description()
        << "\n";
    return 1;
  }
  return 0;
}

std::string exportSynopsis(std::size_t indent) { return ExportCommand().line.synopsis(indent); }

}  // namespace app

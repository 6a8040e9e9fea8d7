// hgvtool export: the Save dialog's exports without a window, from a chosen current picture.

#include <ostream>

#include "app/hgvtool_commands.h"
#include "app/hgvtool_support.h"
#include "export/core/exports.h"
#include "search/driver/tool_session.h"
#include "toolkit/core/runtime_error.h"

namespace app {

using search::ToolSession;

namespace {

constexpr const char* kUsage =
    "usage: hgvtool export CLIP --frame N (--jpg OUT | --hgv OUT | --wmv OUT) [--count K]\n"
    "       N counts from 0; K frames from it (default 50), fewer where the clip ends first\n";

enum class Kind { None, Jpg, Hgv, Wmv };

struct ExportOptions {
  std::string clip;
  long long frame = -1;
  Kind kind = Kind::None;
  std::string out;
  long long count = 50;
};

bool parse(const Args& args, ExportOptions& o) {
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    const bool hasValue = i + 1 < args.size();
    const auto setKind = [&](Kind kind) {
      if (o.kind != Kind::None || !hasValue) return false;
      o.kind = kind;
      o.out = args[++i];
      return true;
    };
    if (a == "--jpg" || a == "--hgv" || a == "--wmv") {
      if (!setKind(a == "--jpg" ? Kind::Jpg : a == "--hgv" ? Kind::Hgv : Kind::Wmv)) return false;
    } else if (a == "--frame" && hasValue && parseInt(args[i + 1], o.frame)) {
      ++i;
    } else if (a == "--count" && hasValue && parseInt(args[i + 1], o.count) && o.count >= 1 &&
               o.count <= 32767) {
      ++i;
    } else if (a.rfind("--", 0) != 0 && o.clip.empty()) {
      o.clip = a;
    } else {
      return false;
    }
  }
  return !o.clip.empty() && o.kind != Kind::None && o.frame >= 0;
}

}  // namespace

int runExport(const Args& args, std::ostream& out, std::ostream& err) {
  ExportOptions o;
  if (!parse(args, o)) {
    err << kUsage;
    return 2;
  }
  ToolSession tool(err);
  if (!tool.openClip(o.clip)) return 1;
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

}  // namespace app

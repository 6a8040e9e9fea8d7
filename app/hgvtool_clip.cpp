// hgvtool info, extract, pack and sample.

#include <ostream>
#include <sstream>

#include "app/hgvtool_commands.h"
#include "app/hgvtool_support.h"
#include "clip/clip_format.h"
#include "clip/clip_writer.h"
#include "clip/separate_mjpg.h"
#include "scan/json_text.h"
#include "scan/report.h"
#include "search/driver/tool_session.h"
#include "toolkit/core/image.h"
#include "toolkit/core/runtime_error.h"
#include "toolkit/core/wall_clock.h"
#include "toolkit/writers/synthetic_scene.h"
#include "video/video_file.h"

namespace app {

using search::ToolSession;

namespace {

using toolkit::RuntimeError;

std::vector<std::uint8_t> toBytes(const std::string& s) { return {s.begin(), s.end()}; }

// Each subcommand's table: its options and the usage they make.
struct InfoCommand {
  std::vector<std::string> clip;
  bool json = false;
  bool frames = false;
  CommandLine line{"hgvtool info"};
  InfoCommand() {
    line.flag("--json", json);
    line.flag("--frames", frames);
    line.positionals("CLIP", clip, 1);
  }
};

struct ExtractCommand {
  std::vector<std::string> args;  // CLIP N OUT.jpg
  CommandLine line{"hgvtool extract"};
  ExtractCommand() { line.positionals("CLIP N OUT.jpg", args, 3); }
};

struct PackCommand {
  std::vector<std::string> args;  // OUT.hgv and the pictures
  CommandLine line{"hgvtool pack"};
  PackCommand() { line.positionals("OUT.hgv A.jpg [B.jpg ...]", args, -1); }
};

struct SampleCommand {
  std::vector<std::string> path;
  long long frameCount = 90;
  long long width = 640, height = 480;
  CommandLine line{"hgvtool sample"};
  SampleCommand() {
    line.positionals("OUT.hgv", path, 1);
    line.number("--frames", "N", frameCount, 1, clip::format::kMaxFrames);
    line.value("--size", "WxH", [this](const std::string& s) {
      const auto x = s.find('x');
      return x != std::string::npos && parseInt(s.substr(0, x), width) &&
             parseInt(s.substr(x + 1), height) && width >= 16 && height >= 16 && width <= 4096 &&
             height <= 4096;
    });
  }
};

// What the container says of a camera's video beyond what a clip says.
void addVideoFacts(const video::VideoFacts& v, nlohmann::ordered_json& facts) {
  facts["codec"] = v.codec;
  facts["container"] = v.container;
  facts["frame_rate"] = v.rateDen > 0 ? static_cast<double>(v.rateNum) / v.rateDen : 0.0;
  facts["duration_s"] = v.durationSeconds;
  facts["recorded"] =
      v.creationTime
          ? nlohmann::ordered_json(toolkit::isoLocalTime(static_cast<double>(*v.creationTime)))
          : nlohmann::ordered_json();
}

}  // namespace

// What a click on the open button does from the moment the file is chosen: the header check, the
// index scan, the extraction of frame 0, the file test and the decoding of that picture.
int runInfo(const Args& args, std::ostream& out, std::ostream& err) {
  InfoCommand o;
  if (!o.line.parse(args)) {
    err << o.line.usage();
    return 2;
  }
  const std::string& path = o.clip[0];
  ToolSession session(err);
  const bool opened = session.openClip(path);
  const clip::SeparateMJPG& clip = session.session().SeparateMJPG;
  const bool admitted = session.session().OpenSaveFile.ClipOpen != toolkit::kFalse;
  const int frameCount = admitted ? session.session().OpenSaveFile.TotalFrames.value() : 0;
  if (o.json) {
    nlohmann::ordered_json facts = {{"admitted", admitted},
                                    {"opened", opened},
                                    {"boxes", scan::boxesValue(session.boxes())},
                                    {"ClipWidth", clip.ClipWidth.value()},
                                    {"ClipHeight", clip.ClipHeight.value()},
                                    {"TotalFrames", frameCount}};
    if (const video::VideoFacts* v = clip.videoFacts()) addVideoFacts(*v, facts);
    if (o.frames) {
      nlohmann::ordered_json& frames = facts["frames"] = nlohmann::ordered_json::array();
      for (int k = 0; k < frameCount; ++k) {
        frames.push_back(
            {{"FramePosition", clip.FramePositions[k]}, {"FrameSize", clip.FrameSizes[k]}});
      }
    }
    out << scan::jsonText(facts) << "\n";
  } else {
    out << "clip:     " << path << "\n"
        << "admitted: " << (admitted ? "yes" : "no") << "\n";
    if (admitted) {
      out << "picture:  " << clip.ClipWidth.value() << " x " << clip.ClipHeight.value() << "\n"
          << "frames:   " << frameCount << "\n";
    }
    out << "opened:   " << (opened ? "yes" : "no") << "\n";
    if (o.frames) {
      for (int k = 0; k < frameCount; ++k) {
        out << "frame " << k << ": position " << clip.FramePositions[k] << ", size "
            << clip.FrameSizes[k] << "\n";
      }
    }
  }
  return opened ? 0 : 1;
}

int runExtract(const Args& arguments, std::ostream& out, std::ostream& err) {
  ExtractCommand command;
  long long frame = 0;
  if (!command.line.parse(arguments) || !parseInt(command.args[1], frame)) {
    err << command.line.usage();
    return 2;
  }
  const Args& args = command.args;
  ToolSession session(err);
  // The bytes of a frame can be had also when frame 0 does not decode.
  session.openClip(args[0]);
  if (!session.session().clipHasFrames()) return 1;
  clip::SeparateMJPG& clip = session.session().SeparateMJPG;
  const int total = session.session().OpenSaveFile.TotalFrames.value();
  if (frame < 0 || frame >= total) {
    err << "hgvtool: the clip has frames 0 to " << total - 1 << "; there is no frame " << frame
        << "\n";
    return 1;
  }
  std::vector<std::uint8_t> bytes;
  try {
    // A clip's or an MJPEG video's own bytes; another video's picture as its JPEG, which a
    // frame that does not decode does not have.
    bytes = clip.frameJpeg(static_cast<int>(frame));
    if (bytes.empty()) throw RuntimeError::of(toolkit::ErrorNumber::InvalidPicture);
    if (!writeFileAtomically(args[2], bytes, err)) return 1;
  } catch (const RuntimeError& e) {
    err << "hgvtool: frame " << frame << ": Error " << e.number() << ": " << e.description()
        << "\n";
    return 1;
  }
  out << "frame " << frame << ": " << bytes.size() << " bytes to " << args[2] << "\n";
  return 0;
}

int runPack(const Args& arguments, std::ostream& out, std::ostream& err) {
  PackCommand command;
  if (!command.line.parse(arguments) || command.args.size() < 2) {
    err << command.line.usage();
    return 2;
  }
  const Args& args = command.args;
  if (args.size() - 1 > static_cast<std::size_t>(clip::format::kMaxFrames)) {
    err << "hgvtool: a clip holds at most " << clip::format::kMaxFrames << " pictures\n";
    return 1;
  }
  toolkit::PosixFileSystem fs;
  std::vector<std::vector<std::uint8_t>> jpegs;
  int width = 0, height = 0;
  for (std::size_t i = 1; i < args.size(); ++i) {
    std::vector<std::uint8_t> bytes;
    try {
      bytes = toBytes(toolkit::readWholeFile(fs, args[i]));
    } catch (const RuntimeError& e) {
      err << "hgvtool: " << args[i] << ": " << e.description() << "\n";
      return 1;
    }
    auto picture = toolkit::decodeJpeg(bytes);
    if (!picture) {
      err << "hgvtool: " << args[i] << ": not a JPEG picture\n";
      return 1;
    }
    if (i == 1) {
      width = picture->width;
      height = picture->height;
    }
    jpegs.push_back(std::move(bytes));
  }
  std::vector<clip::ClipFrame> frames;
  for (auto& j : jpegs) frames.push_back({std::move(j), {}, {}, "00dc"});
  clip::ClipLayout layout;
  layout.width = width;
  layout.height = height;
  if (!writeFileAtomically(args[0], clip::buildClip(layout, frames), err)) return 1;
  out << args[0] << ": " << frames.size() << " frames of " << width << " x " << height << "\n";
  return 0;
}

// A short made-up scene in which an animal walks across a meadow, for trying the program.
int runSample(const Args& args, std::ostream& out, std::ostream& err) {
  SampleCommand o;
  if (!o.line.parse(args)) {
    err << o.line.usage();
    return 2;
  }
  const std::string& path = o.path[0];
  const long long frameCount = o.frameCount, width = o.width, height = o.height;
  toolkit::SceneOptions scene;
  scene.width = static_cast<int>(width);
  scene.height = static_cast<int>(height);
  scene.enterFrame = static_cast<int>(frameCount * 2 / 5);
  scene.leaveFrame = static_cast<int>(frameCount * 4 / 5);
  toolkit::SyntheticScene generator(scene);
  clip::ClipLayout layout;
  layout.width = scene.width;
  layout.height = scene.height;
  std::vector<clip::ClipFrame> frames;
  for (int i = 0; i < frameCount; ++i) {
    frames.push_back({toolkit::encodeJpeg(generator.frame(i), 85), {}, {}, "00dc"});
  }
  if (!writeFileAtomically(path, clip::buildClip(layout, frames), err)) return 1;
  out << path << ": " << frameCount << " frames of " << width << " x " << height
      << "; the animal walks across from frame " << scene.enterFrame + 1 << " to "
      << scene.leaveFrame << "\n";
  return 0;
}

std::string infoSynopsis(std::size_t indent) { return InfoCommand().line.synopsis(indent); }
std::string extractSynopsis(std::size_t indent) { return ExtractCommand().line.synopsis(indent); }
std::string packSynopsis(std::size_t indent) { return PackCommand().line.synopsis(indent); }
std::string sampleSynopsis(std::size_t indent) { return SampleCommand().line.synopsis(indent); }

}  // namespace app

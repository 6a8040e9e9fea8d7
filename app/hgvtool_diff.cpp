// hgvtool diff: the comparison of two neighbouring frames, as a search's priming pass and first
// step make it: the older frame into CellMeansA with both phases True, the newer into CellMeansB.

#include <cstdint>
#include <ostream>
#include <span>
#include <string>

#include "app/hgvtool_commands.h"
#include "app/hgvtool_support.h"
#include "clip/separate_mjpg.h"
#include "scan/json_text.h"
#include "scan/report.h"
#include "search/core/analyse_bmp.h"
#include "search/core/frame_decoder.h"
#include "search/driver/tool_session.h"
#include "toolkit/core/file_system.h"
#include "toolkit/core/runtime_error.h"

namespace app {

using search::ToolSession;

namespace {

using toolkit::kFalse;
using toolkit::kTrue;
using toolkit::RuntimeError;

constexpr int kSearchCellSize = 16;
struct DiffOptions {
  std::vector<std::string> positional;
  bool json = false;
  std::string sensitivity = "Medium";
  long long threshold = 0;
};

struct DiffCommand {
  DiffOptions o;
  CommandLine line{"hgvtool diff"};
  DiffCommand() {
    line.flag("--json", o.json);
    line.text("--sensitivity", "TEXT", o.sensitivity);
    line.number("--threshold", "T", o.threshold, INT16_MIN, INT16_MAX);
    line.positionals("(CLIP N | A.jpg B.jpg)", o.positional, 2);
  }
};

// Hands the comparison one frame at a time, as the search drivers do: decoded as "Temp.jpg"
// holds it, and a refused bitmap shown in its box.
class Comparison {
 public:
  Comparison(toolkit::MessageSink& messages, const DiffOptions& o) : m_messages(messages) {
    m_module.Sensitivity = o.sensitivity;
    m_module.ChangeThreshold = static_cast<std::int16_t>(o.threshold);
  }

  void storeOlder(const clip::FramePtr& frame, std::span<const std::uint8_t> tempJpg) {
    m_module.StoreInA = kTrue;
    m_module.StoreInB = kFalse;
    analyse(frame, tempJpg, kTrue, kTrue);
  }
  void compareNewer(const clip::FramePtr& frame, std::span<const std::uint8_t> tempJpg) {
    m_module.StoreInA = kFalse;
    m_module.StoreInB = kTrue;
    analyse(frame, tempJpg, kTrue, kFalse);
  }
  const search::AnalyseBMP& module() const { return m_module; }

 private:
  void analyse(const clip::FramePtr& frame, std::span<const std::uint8_t> tempJpg,
               toolkit::Boolean phaseA, toolkit::Boolean phaseB) {
    m_decoder.decodeAsScratch(*frame, tempJpg, kSearchCellSize);
    const auto result = m_module.AnalyseFrame(frame, kSearchCellSize, phaseA, phaseB);
    if (const auto box = search::refusalBox(result.refusal)) m_messages.show(*box);
  }

  toolkit::MessageSink& m_messages;
  search::AnalyseBMP m_module;
  search::FrameDecoder m_decoder;
};

void report(const search::AnalyseBMP& m, const DiffOptions& o,
            const std::vector<toolkit::MessageBoxRequest>& boxes, std::ostream& out) {
  const auto t = m.sweepThreshold();
  if (o.json) {
    nlohmann::ordered_json changed = nlohmann::ordered_json::array();
    for (const auto& cell : m.ChangedCells) {
      const auto& at = m.CellOrigins(cell.Row, cell.Column);
      changed.push_back({{"Column", cell.Column.value()},
                         {"Row", cell.Row.value()},
                         {"X", at.X.value()},
                         {"Y", at.Y.value()}});
    }
    const nlohmann::ordered_json result = {
        {"CellRows", m.CellRows.value()},
        {"CellColumns", m.CellColumns.value()},
        {"otsu_t", t ? nlohmann::ordered_json(*t) : nlohmann::ordered_json()},
        {"ChangeThreshold", m.ChangeThreshold.value()},
        {"changed", std::move(changed)},
        {"boxes", scan::boxesValue(boxes)}};
    out << scan::jsonText(result) << "\n";
    return;
  }
  out << "cells:       " << m.CellColumns.value() << " columns x " << m.CellRows.value()
      << " rows\n"
      << "sweep:       " << (t ? "t = " + std::to_string(*t) : std::string("no score")) << "\n"
      << "threshold:   " << m.ChangeThreshold.value() << " (" << o.sensitivity << ")\n"
      << "changed:     " << m.ChangedCellCount.value() << " cells\n";
  for (const auto& cell : m.ChangedCells) {
    const auto& at = m.CellOrigins(cell.Row, cell.Column);
    out << "  column " << cell.Column.value() << ", row " << cell.Row.value() << " at x "
        << at.X.value() << ", y " << at.Y.value() << "\n";
  }
}

int diffClip(const std::string& path, long long frame, const DiffOptions& o, std::ostream& out,
             std::ostream& err) {
  ToolSession session(err);
  session.openClip(path);
  if (!session.session().clipHasFrames()) return 1;
  clip::SeparateMJPG& clip = session.session().SeparateMJPG;
  const int total = session.session().OpenSaveFile.TotalFrames.value();
  if (frame < 0 || frame + 1 >= total) {
    err << "hgvtool: the clip has frames 0 to " << total - 1 << "; frame " << frame
        << " has no next frame to compare with\n";
    return 1;
  }
  Comparison comparison(session.platform().messages, o);
  try {
    clip.ExtractCurrentJpg(path, static_cast<int>(frame));
    comparison.storeOlder(clip.lastExtracted(), clip.scratch().jpegFile());
    clip.ExtractCurrentJpg(path, static_cast<int>(frame + 1));
    comparison.compareNewer(clip.lastExtracted(), clip.scratch().jpegFile());
  } catch (const RuntimeError& e) {
    err << "hgvtool: Error " << e.number() << ": " << e.description() << "\n";
    return 1;
  }
  report(comparison.module(), o, session.boxes(), out);
  return session.boxes().empty() ? 0 : 1;
}

// Each picture is a frame of its own bytes, compared exactly as in a search.
int diffPictures(const std::string& older, const std::string& newer, const DiffOptions& o,
                 std::ostream& out, std::ostream& err) {
  ToolSession session(err);
  const auto frameOf = [&](const std::string& picture) {
    auto frame = std::make_shared<clip::Frame>();
    const std::string bytes = toolkit::readWholeFile(session.platform().files, picture);
    frame->index = 0;
    frame->jpeg.assign(bytes.begin(), bytes.end());
    return frame;
  };
  Comparison comparison(session.platform().messages, o);
  const std::string* current = &older;
  try {
    const clip::FramePtr first = frameOf(older);
    comparison.storeOlder(first, first->jpeg);
    current = &newer;
    const clip::FramePtr second = frameOf(newer);
    comparison.compareNewer(second, second->jpeg);
  } catch (const RuntimeError& e) {
    err << "hgvtool: " << *current << ": Error " << e.number() << ": " << e.description() << "\n";
    return 1;
  }
  report(comparison.module(), o, session.boxes(), out);
  return session.boxes().empty() ? 0 : 1;
}

}  // namespace

int runDiff(const Args& args, std::ostream& out, std::ostream& err) {
  DiffCommand command;
  if (!command.line.parse(args)) {
    err << command.line.usage();
    return 2;
  }
  const DiffOptions& o = command.o;
  long long frame = 0;
  if (parseInt(o.positional[1], frame)) {
    return diffClip(o.positional[0], frame, o, out, err);
  }
  return diffPictures(o.positional[0], o.positional[1], o, out, err);
}

std::string diffSynopsis(std::size_t indent) { return DiffCommand().line.synopsis(indent); }

}  // namespace app

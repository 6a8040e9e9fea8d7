#include "app/window_start.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <climits>
#include <cstdio>
#include <filesystem>

#include "app/command_line.h"
#include "toolkit/core/hand_over_request.h"
#include "toolkit/widgets/instance_link.h"
#include "window/form1.h"

namespace app {
namespace {

std::optional<int> frameNumber(const std::string& text) {
  int value = 0;
  const char* end = text.data() + text.size();
  const auto [at, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || at != end || value < 0) return std::nullopt;
  return value;
}

std::string absolutePath(const std::string& path) {
  std::error_code ec;
  const std::filesystem::path absolute = std::filesystem::absolute(path, ec);
  return ec ? path : absolute.lexically_normal().string();
}

}  // namespace

namespace {

// The window program's table: its options and the usage they make.
struct WindowCommand {
  WindowStart start;
  std::vector<std::string> clip;
  std::string badFrame;  // the value --frame refused
  CommandLine line{"harrowglen"};

  WindowCommand() {
    // Not in the usage: they end the program before any window.
    line.flag("-h,--help", start.help)->group("");
    line.flag("--version", start.version)->group("");
    line.value("--frame", "N", [this](const std::string& text) {
      start.frame = frameNumber(text);
      if (!start.frame) badFrame = text;
      return start.frame.has_value();
    });
    line.optionalPositional("CLIP", clip);
    // Told apart below, each with its own message.
    line.leftovers();
  }

  std::string error() const {
    if (!badFrame.empty()) return "--frame takes a frame number from 0: " + badFrame;
    if (clip.size() > 1) return "one clip at a time: " + clip[1];
    // Every argument that is not an option is a clip, so what is left over is an option.
    const std::vector<std::string> unknown = line.remaining();
    if (!unknown.empty()) return "unknown option " + unknown.front();
    if (!clip.empty() && clip[0].empty()) return "the clip's name is empty";
    if (start.frame && clip.empty() && !start.help && !start.version) {
      return "--frame needs a clip";
    }
    return "";
  }
};

}  // namespace

std::string windowUsage() { return WindowCommand().line.usage(); }

ParsedWindowStart parseWindowArguments(const std::vector<std::string>& args) {
  WindowCommand command;
  if (!command.line.parse(args)) {
    const std::string error = command.error();
    return {command.start, error.empty() ? "--frame needs a frame number" : error};
  }
  ParsedWindowStart parsed{command.start, command.error()};
  if (!command.clip.empty() && parsed.error.empty())
    parsed.start.clip = absolutePath(command.clip[0]);
  return parsed;
}

std::vector<std::string> handOverRequest(const WindowStart& start) {
  if (!start.clip) return {"raise"};
  return {"open", *start.clip, start.frame ? std::to_string(*start.frame) : std::string()};
}

std::optional<WindowStart> readHandOverRequest(const std::vector<std::string>& request) {
  if (request == std::vector<std::string>{"raise"}) return WindowStart{};
  if (request.size() != 3 || request[0] != "open") return std::nullopt;
  const std::string& clip = request[1];
  // A relative name would be taken from this window's folder, not the one it was given in.
  if (clip.empty() || clip.front() != '/' || clip.size() > PATH_MAX ||
      clip.find('\0') != std::string::npos) {
    return std::nullopt;
  }
  WindowStart start;
  start.clip = clip;
  if (!request[2].empty()) {
    start.frame = frameNumber(request[2]);
    if (!start.frame) return std::nullopt;
  }
  return start;
}

void answerRequest(window::Form1& form, const std::vector<std::string>& request) {
  const std::optional<WindowStart> start = readHandOverRequest(request);
  if (!start) return;
  form.BringToFront();
  if (start->clip) form.OpenFromOutside(*start->clip, start->frame);
}

void openAtStart(window::Form1& form, const WindowStart& start) {
  if (start.clip) form.OpenFromOutside(*start.clip, start.frame);
}

std::optional<int> handOver(const std::string& socketPath, const WindowStart& start) {
  const std::vector<std::string> request = handOverRequest(start);
  if (!toolkit::handOverRequestFits(request)) {
    std::fputs("harrowglen: the clip's name is too long to hand over.\n", stderr);
    return 1;
  }
  switch (toolkit::sendToRunningInstance(socketPath, request)) {
    case toolkit::HandOverResult::Taken:
      return 0;
    case toolkit::HandOverResult::NotTheUsers:
      std::fprintf(stderr,
                   "harrowglen: %s is not this user's own; this start opens a window of its own "
                   "and hands nothing over.\n",
                   socketPath.c_str());
      return std::nullopt;
    case toolkit::HandOverResult::NoAnswer:
      break;
  }
  if (start.clip) {
    std::fprintf(stderr, "harrowglen: the running window did not answer; \"%s\" was not opened.\n",
                 start.clip->c_str());
  } else {
    std::fputs("harrowglen: the running window did not answer.\n", stderr);
  }
  return 1;
}

}  // namespace app

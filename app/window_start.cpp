#include "app/window_start.h"

#include <charconv>
#include <climits>
#include <cstdio>
#include <filesystem>

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

ParsedWindowStart parseWindowArguments(const std::vector<std::string>& args) {
  ParsedWindowStart parsed;
  WindowStart& start = parsed.start;
  bool optionsEnd = false;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (!optionsEnd && arg == "--") {
      optionsEnd = true;
    } else if (!optionsEnd && (arg == "--help" || arg == "-h")) {
      start.help = true;
    } else if (!optionsEnd && arg == "--version") {
      start.version = true;
    } else if (!optionsEnd && arg == "--frame") {
      if (i + 1 == args.size()) return {start, "--frame needs a frame number"};
      start.frame = frameNumber(args[++i]);
      if (!start.frame) return {start, "--frame takes a frame number from 0: " + args[i]};
    } else if (!optionsEnd && arg.size() > 1 && arg[0] == '-') {
      return {start, "unknown option " + arg};
    } else if (start.clip) {
      return {start, "one clip at a time: " + arg};
    } else if (arg.empty()) {
      return {start, "the clip's name is empty"};
    } else {
      start.clip = absolutePath(arg);
    }
  }
  if (start.frame && !start.clip && !start.help && !start.version) {
    return {start, "--frame needs a clip"};
  }
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

#include "app/window_start.h"

#include <charconv>
#include <cstdio>
#include <filesystem>

#include "skin/form1.h"
#include "toolkit/widgets/instance_link.h"

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

void answerRequest(skin::Form1& form, const std::vector<std::string>& request) {
  if (request.empty()) return;
  if (request[0] == "raise") {
    form.BringToFront();
  } else if (request[0] == "open" && request.size() == 3 && !request[1].empty()) {
    form.BringToFront();
    std::optional<int> frame;
    if (!request[2].empty()) {
      frame = frameNumber(request[2]);
      if (!frame) return;
    }
    form.OpenFromOutside(request[1], frame);
  }
}

void openAtStart(skin::Form1& form, const WindowStart& start) {
  if (start.clip) form.OpenFromOutside(*start.clip, start.frame);
}

int handOver(const std::string& instanceName, const WindowStart& start) {
  if (toolkit::sendToRunningInstance(instanceName, handOverRequest(start))) return 0;
  if (!start.clip) return 0;
  std::fprintf(stderr, "harrowglen: the running window did not answer; \"%s\" was not opened.\n",
               start.clip->c_str());
  return 1;
}

}  // namespace app

#pragma once

// How the window program starts: its arguments, a clip to open at start-up, and a later start
// that hands its clip to the window already running.

#include <optional>
#include <string>
#include <vector>

namespace skin {
class Form1;
}

namespace app {

inline constexpr const char* kWindowUsage = "usage: harrowglen [--frame N] [CLIP]\n";

struct WindowStart {
  std::optional<std::string> clip;  // absolute, so that another process can open it
  std::optional<int> frame;         // counted from 0
  bool help = false;
  bool version = false;
};

struct ParsedWindowStart {
  WindowStart start;
  std::string error;  // a usage error; empty when the arguments are good
};

// The program's arguments without its own name, once Qt has taken its own.
ParsedWindowStart parseWindowArguments(const std::vector<std::string>& args);

// What a later start sends to the running window: {"open", CLIP, FRAME or ""} or {"raise"}.
std::vector<std::string> handOverRequest(const WindowStart& start);
// Does what a later start asked: the window comes to the front and opens its clip when the folder
// button next would.
void answerRequest(skin::Form1& form, const std::vector<std::string>& request);

// The clip of the command line, opened as the folder button opens a chosen file.
void openAtStart(skin::Form1& form, const WindowStart& start);

// A later start: hands `start` to the running window under `instanceName`. The exit status: 0
// when the window took it (or there was no clip to hand over), 1 with a message on stderr when
// it did not answer.
int handOver(const std::string& instanceName, const WindowStart& start);

}  // namespace app

#pragma once

// How the window program starts: its arguments, a clip to open at start-up, and a later start
// that hands its clip to the window already running.

#include <optional>
#include <string>
#include <vector>

namespace window {
class Form1;
}

namespace app {

// "usage: harrowglen [--frame N] [CLIP]", from the table that parses the arguments.
std::string windowUsage();

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
// The start a request asks for; none unless it is one of the two above, CLIP an absolute path of
// at most PATH_MAX bytes without a NUL, FRAME a frame number from 0 or "".
std::optional<WindowStart> readHandOverRequest(const std::vector<std::string>& request);
// Does what a later start asked: the window comes to the front and opens its clip when the folder
// button next would. Anything readHandOverRequest refuses is ignored.
void answerRequest(window::Form1& form, const std::vector<std::string>& request);

// The clip of the command line, opened as the folder button opens a chosen file.
void openAtStart(window::Form1& form, const WindowStart& start);

// A later start: hands `start` to the running window listening at `socketPath`. The exit status
// for this start: 0 when the window took it, 1 with a message on stderr when it did not answer or
// the clip's name is too long to send. None when the socket is not the user's own: nothing was
// sent, and this start goes on to open a window of its own (it said so on stderr).
std::optional<int> handOver(const std::string& socketPath, const WindowStart& start);

}  // namespace app

// hgvtool scan: its options, and the signals that stop it; the run itself is scan/scan_run.

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <csignal>
#include <optional>
#include <ostream>
#include <string>

#include "app/hgvtool_commands.h"
#include "app/hgvtool_support.h"
#include "scan/scan_run.h"

namespace app {
namespace {

using scan::Duration;
using scan::EventClips;
using scan::EventRules;

bool parseDuration(const std::string& text, Duration& duration) {
  const std::optional<Duration> parsed = Duration::parse(text);
  if (parsed) duration = *parsed;
  return parsed.has_value();
}

bool parseClips(const std::string& text, EventClips& clips) {
  if (text == "hgv") {
    clips = EventClips::Hgv;
  } else if (text == "wmv") {
    clips = EventClips::Wmv;
  } else if (text == "mp4") {
    clips = EventClips::Mp4;
  } else {
    return false;
  }
  return true;
}

bool parseShard(const std::string& text, int& shard, int& shards) {
  const std::size_t slash = text.find('/');
  long long k = 0, n = 0;
  if (slash == std::string::npos || !parseInt(text.substr(0, slash), k) ||
      !parseInt(text.substr(slash + 1), n)) {
    return false;
  }
  if (n < 1 || n > 1000000 || k < 1 || k > n) return false;
  shard = static_cast<int>(k);
  shards = static_cast<int>(n);
  return true;
}

// The table of the scan's options, filling one ScanJob.
struct ScanCommand {
  scan::ScanJob c;
  long long jobs = c.jobs;
  CommandLine line{"hgvtool scan"};

  ScanCommand() {
    EventRules& rules = c.scan.rules;
    line.positionals("CLIP_OR_FOLDER...", c.paths, -1);
    line.value("--area", "L,T,R,B", [this](const std::string& text) {
      toolkit::Rect area;
      if (!parseArea(text, area)) return false;
      c.scan.area = area;
      return true;
    });
    line.text("--sensitivity", "TEXT", c.scan.sensitivity);
    line.number("--jobs", "N", jobs, 1, 256);
    duration("--merge-gap", rules.mergeGap);
    duration("--min-event", rules.minEvent);
    duration("--before", rules.before);
    duration("--after", rules.after);
    CLI::Option* out = line.text("--out", "DIR", c.out);
    line.within(out, line.value("--clips", "hgv|wmv|mp4", [this](const std::string& text) {
      return parseClips(text, c.scan.clips);
    }));
    line.within(out, line.flag("--resume", c.resume));
    line.value("--shard", "K/N",
               [this](const std::string& text) { return parseShard(text, c.shard, c.shards); });
    line.flag("--json", c.json);
    line.value("--ext", "LIST", [this](const std::string& text) {
      const std::optional<std::vector<std::string>> extensions = scan::parseExtensions(text);
      if (extensions) c.extensions = *extensions;
      return extensions.has_value();
    });
    line.note("D is seconds (2.5) or frames (5f)");
    std::string extensions;
    for (const std::string& e : scan::footageExtensions()) {
      extensions += (extensions.empty() ? "" : ",") + e;
    }
    line.note("LIST: the extensions a folder's walk takes, by default " + extensions);
  }

  void duration(const std::string& name, Duration& target) {
    line.value(name, "D",
               [&target](const std::string& text) { return parseDuration(text, target); });
  }

  bool parse(const Args& args) {
    if (!line.parse(args)) return false;
    c.jobs = static_cast<int>(jobs);
    return true;
  }
};

// The signal that stops the scan. A signal handler can reach nothing else, so this one flag is
// the process's; StopSignals sets it up for one run and puts the old handlers back.
volatile std::sig_atomic_t g_stopSignal = 0;

extern "C" void onStopSignal(int signal) {
  // A second one stops at once, leaving the journal as it stands.
  if (g_stopSignal != 0) ::_exit(128 + g_stopSignal);
  g_stopSignal = signal;
}

class StopSignals {
 public:
  StopSignals() {
    g_stopSignal = 0;
    struct sigaction action {};
    action.sa_handler = onStopSignal;
    sigemptyset(&action.sa_mask);
    ::sigaction(SIGINT, &action, &m_int);
    ::sigaction(SIGTERM, &action, &m_term);
  }
  ~StopSignals() {
    ::sigaction(SIGINT, &m_int, nullptr);
    ::sigaction(SIGTERM, &m_term, nullptr);
  }
  StopSignals(const StopSignals&) = delete;
  StopSignals& operator=(const StopSignals&) = delete;
  int signal() const { return g_stopSignal; }

 private:
  struct sigaction m_int {};
  struct sigaction m_term {};
};

}  // namespace

int runScan(const Args& args, std::ostream& out, std::ostream& err,
            const scan::ScanEnvironment& env) {
  ScanCommand command;
  if (!command.parse(args)) {
    err << command.line.usage();
    return 2;
  }
  const scan::ScanJob& c = command.c;
  StopSignals signals;
  return scan::runScanJob(
      c, env, [&] { return signals.signal(); }, out, err);
}

std::string scanSynopsis(std::size_t indent) { return ScanCommand().line.synopsis(indent); }

}  // namespace app

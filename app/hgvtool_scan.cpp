// hgvtool scan: its options, and the signals that stop it; the run itself is scan/scan_run.

#include <unistd.h>

#include <csignal>
#include <optional>
#include <ostream>
#include <string>

#include "app/hgvtool_commands.h"
#include "app/hgvtool_support.h"
#include "scan/scan_run.h"

namespace app {
namespace {

constexpr const char* kUsage =
    "usage: hgvtool scan CLIP_OR_FOLDER... [--area L,T,R,B] [--sensitivity TEXT] [--jobs N]\n"
    "                    [--merge-gap D] [--min-event D] [--before D] [--after D]\n"
    "                    [--out DIR [--clips hgv|wmv|mp4] [--resume]] [--shard K/N] [--json]\n"
    "       D is seconds (2.5) or frames (5f)\n";

using scan::Duration;
using scan::EventClips;
using scan::EventRules;
using ScanCommand = scan::ScanJob;

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

// One option with its value; false for an unknown option or a bad value.
bool parseOption(const std::string& a, const std::string& value, ScanCommand& c) {
  long long n = 0;
  EventRules& rules = c.scan.rules;
  if (a == "--jobs") {
    if (!parseInt(value, n) || n < 1 || n > 256) return false;
    c.jobs = static_cast<int>(n);
    return true;
  }
  if (a == "--area") {
    toolkit::Rect area;
    if (!parseArea(value, area)) return false;
    c.scan.area = area;
    return true;
  }
  if (a == "--sensitivity") return c.scan.sensitivity = value, true;
  if (a == "--out") return c.out = value, true;
  if (a == "--merge-gap") return parseDuration(value, rules.mergeGap);
  if (a == "--min-event") return parseDuration(value, rules.minEvent);
  if (a == "--before") return parseDuration(value, rules.before);
  if (a == "--after") return parseDuration(value, rules.after);
  if (a == "--clips") return parseClips(value, c.scan.clips);
  if (a == "--shard") return parseShard(value, c.shard, c.shards);
  return false;
}

bool parseScan(const Args& args, ScanCommand& c) {
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--json" || a == "--resume") {
      (a == "--json" ? c.json : c.resume) = true;
    } else if (a.rfind("--", 0) != 0) {
      c.paths.push_back(a);
    } else if (i + 1 >= args.size() || !parseOption(a, args[++i], c)) {
      return false;
    }
  }
  // Event clips go beside the report, and only a report can be resumed.
  const bool needsOut = c.scan.clips != EventClips::None || c.resume;
  return !c.paths.empty() && (!needsOut || !c.out.empty());
}

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
  ScanCommand c;
  if (!parseScan(args, c)) {
    err << kUsage;
    return 2;
  }
  StopSignals signals;
  return scan::runScanJob(
      c, env, [&] { return signals.signal(); }, out, err);
}

}  // namespace app

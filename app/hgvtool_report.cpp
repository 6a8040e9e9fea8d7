// hgvtool report OUT DIR...: the front of the join of several scan folders (scan/report_join).

#include <algorithm>
#include <ostream>

#include "app/hgvtool_commands.h"
#include "scan/report_join.h"

namespace app {
namespace {

constexpr const char* kUsage = "usage: hgvtool report OUT DIR...\n";

}  // namespace

int runReport(const Args& args, std::ostream& out, std::ostream& err) {
  if (args.size() < 2 || std::any_of(args.begin(), args.end(),
                                     [](const std::string& a) { return a.rfind("--", 0) == 0; })) {
    err << kUsage;
    return 2;
  }
  return scan::joinScans(args[0], Args(args.begin() + 1, args.end()), out, err);
}

}  // namespace app

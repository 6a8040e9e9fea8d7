// hgvtool report OUT DIR...: the front of the join of several scan folders (scan/report_join).

#include <ostream>

#include "app/command_line.h"
#include "app/hgvtool_commands.h"
#include "scan/report_join.h"

namespace app {
namespace {

struct ReportCommand {
  std::vector<std::string> args;  // OUT and the folders
  CommandLine line{"hgvtool report"};
  ReportCommand() { line.positionals("OUT DIR...", args, -1); }
};

}  // namespace

int runReport(const Args& arguments, std::ostream& out, std::ostream& err) {
  ReportCommand command;
  if (!command.line.parse(arguments) || command.args.size() < 2) {
    err << command.line.usage();
    return 2;
  }
  const Args& args = command.args;
  return scan::joinScans(args[0], Args(args.begin() + 1, args.end()), out, err);
}

std::string reportSynopsis(std::size_t indent) { return ReportCommand().line.synopsis(indent); }

}  // namespace app

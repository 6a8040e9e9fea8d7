// hgvtool: the clip reader and the comparison of Harrowglen on the command line, for users with
// many clips and for scripts. Each subcommand runs the same procedures the window runs.

#include <iostream>
#include <string>
#include <vector>

#include "app/hgvtool_commands.h"
#include "search/driver/tool_session.h"
#include "toolkit/core/resource_budget.h"

namespace {

constexpr const char* kUsage =
    "usage: hgvtool info [--json] [--frames] CLIP\n"
    "       hgvtool extract CLIP N OUT.jpg\n"
    "       hgvtool pack OUT.hgv A.jpg [B.jpg ...]\n"
    "       hgvtool sample OUT.hgv [--frames N] [--size WxH]\n"
    "       hgvtool diff [--json] [--sensitivity TEXT] [--threshold T] CLIP N\n"
    "       hgvtool diff [--json] [--sensitivity TEXT] [--threshold T] A.jpg B.jpg\n"
    "       hgvtool search CLIP [--from N] [--back] [--area L,T,R,B] [--sensitivity TEXT]\n"
    "                      [--threshold T] [--count K | --all] [--marked OUT.bmp] [--json]\n"
    "                      [--threads N]\n"
    "       hgvtool export CLIP --frame N (--jpg OUT | --hgv OUT | --wmv OUT) [--count K]\n"
    "       hgvtool scan CLIP_OR_FOLDER... [--area L,T,R,B] [--sensitivity TEXT] [--jobs N]\n"
    "                    [--merge-gap D] [--min-event D] [--before D] [--after D]\n"
    "                    [--out DIR [--clips hgv|wmv|mp4] [--resume]] [--shard K/N] [--json]\n"
    "       hgvtool report OUT DIR...\n"
    "       hgvtool thumbnail CLIP OUT.png SIZE\n"
    "Exit status: 0 done, 1 refused or failed, 2 usage.\n";

// `budget`: the process's one budget of pictures in flight and threads.
int run(const std::string& command, const app::Args& args, toolkit::ResourceBudget& budget) {
  if (command == "info") return app::runInfo(args, std::cout, std::cerr);
  if (command == "extract") return app::runExtract(args, std::cout, std::cerr);
  if (command == "pack") return app::runPack(args, std::cout, std::cerr);
  if (command == "sample") return app::runSample(args, std::cout, std::cerr);
  if (command == "diff") return app::runDiff(args, std::cout, std::cerr);
  if (command == "export") return app::runExport(args, std::cout, std::cerr);
  if (command == "search") return app::runSearchWithin(args, std::cout, std::cerr, budget);
  if (command == "scan") {
    scan::ScanEnvironment env;
    env.budget = &budget;
    return app::runScan(args, std::cout, std::cerr, env);
  }
  if (command == "report") return app::runReport(args, std::cout, std::cerr);
  if (command == "thumbnail") return app::runThumbnail(args, std::cout, std::cerr);
  if (command == "help" || command == "--help" || command == "-h") {
    std::cout << kUsage;
    return 0;
  }
  std::cerr << "hgvtool: unknown command '" << command << "'\n" << kUsage;
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::cerr << kUsage;
    return 2;
  }
  try {
    toolkit::ResourceBudget budget(toolkit::ResourceBudget::kDefaultPictureBytes,
                                   toolkit::ResourceBudget::machineThreads());
    return run(argv[1], app::Args(argv + 2, argv + argc), budget);
  } catch (const search::TempFolderError& e) {
    std::cerr << "hgvtool: " << e.what() << "\n";
    return 1;
  }
}

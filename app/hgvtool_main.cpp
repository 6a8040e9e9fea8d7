// hgvtool: the clip reader and the comparison of Harrowglen on the command line, for users with
// many clips and for scripts. Each subcommand runs the same procedures the window runs.

#include <iostream>
#include <string>
#include <vector>

#include "app/hgvtool_commands.h"
#include "search/driver/tool_session.h"
#include "toolkit/core/resource_budget.h"
#include "video/video_file.h"

namespace {

// Every subcommand's synopsis, each from its own table.
std::string usage() {
  using Synopsis = std::string (*)(std::size_t);
  constexpr Synopsis kSynopses[] = {
      app::infoSynopsis,   app::extractSynopsis,  app::packSynopsis,   app::sampleSynopsis,
      app::diffSynopsis,   app::searchSynopsis,   app::exportSynopsis, app::scanSynopsis,
      app::reportSynopsis, app::thumbnailSynopsis};
  std::string text;
  for (const Synopsis synopsis : kSynopses) {
    text += (text.empty() ? "usage: " : "       ") + synopsis(7) + "\n";
  }
  return text + "Exit status: 0 done, 1 refused or failed, 2 usage.\n";
}

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
    std::cout << usage();
    return 0;
  }
  std::cerr << "hgvtool: unknown command '" << command << "'\n" << usage();
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::cerr << usage();
    return 2;
  }
  video::silenceLibraryLog();
  try {
    toolkit::ResourceBudget budget(toolkit::ResourceBudget::kDefaultPictureBytes,
                                   toolkit::ResourceBudget::machineThreads());
    return run(argv[1], app::Args(argv + 2, argv + argc), budget);
  } catch (const search::TempFolderError& e) {
    std::cerr << "hgvtool: " << e.what() << "\n";
    return 1;
  }
}

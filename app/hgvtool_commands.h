#pragma once

// The subcommands of hgvtool. Each takes the arguments after its name and returns the exit
// status: 0 done, 1 refused or failed, 2 usage. Message boxes go to `err` as the window would
// show them.

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

#include "scan/scan_run.h"

namespace toolkit {
class ResourceBudget;
}

namespace app {

using Args = std::vector<std::string>;

int runInfo(const Args& args, std::ostream& out, std::ostream& err);
int runExtract(const Args& args, std::ostream& out, std::ostream& err);
int runPack(const Args& args, std::ostream& out, std::ostream& err);
int runSample(const Args& args, std::ostream& out, std::ostream& err);
int runDiff(const Args& args, std::ostream& out, std::ostream& err);
int runSearch(const Args& args, std::ostream& out, std::ostream& err);
// With the process's budget of pictures in flight and threads, instead of one of its own.
int runSearchWithin(const Args& args, std::ostream& out, std::ostream& err,
                    toolkit::ResourceBudget& budget);
int runExport(const Args& args, std::ostream& out, std::ostream& err);
// `env` gives what the scan needs of the machine (a test fills a disk or stops it at a clip).
int runScan(const Args& args, std::ostream& out, std::ostream& err,
            const scan::ScanEnvironment& env = {});
// hgvtool report OUT DIR...: the journals of several scan folders (the shards of one scan) joined
// into one report in OUT, their thumbnails and event clips linked or copied beside it.
int runReport(const Args& args, std::ostream& out, std::ostream& err);
int runThumbnail(const Args& args, std::ostream& out, std::ostream& err);

// Each subcommand's synopsis, from the table that parses its options ("hgvtool info [--json]
// [--frames] CLIP"), its later lines indented to follow a first line that begins at `indent`.
std::string infoSynopsis(std::size_t indent);
std::string extractSynopsis(std::size_t indent);
std::string packSynopsis(std::size_t indent);
std::string sampleSynopsis(std::size_t indent);
std::string diffSynopsis(std::size_t indent);
std::string searchSynopsis(std::size_t indent);
std::string exportSynopsis(std::size_t indent);
std::string scanSynopsis(std::size_t indent);
std::string reportSynopsis(std::size_t indent);
std::string thumbnailSynopsis(std::size_t indent);

}  // namespace app

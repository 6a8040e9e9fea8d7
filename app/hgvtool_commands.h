#pragma once

// The subcommands of hgvtool. Each takes the arguments after its name and returns the exit
// status: 0 done, 1 refused or failed, 2 usage. Message boxes go to `err` as the window would
// show them.

#include <iosfwd>
#include <string>
#include <vector>

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
int runScan(const Args& args, std::ostream& out, std::ostream& err);
int runThumbnail(const Args& args, std::ostream& out, std::ostream& err);

// Writes a string as a JSON string literal, escapes included.
std::string jsonString(const std::string& s);

}  // namespace app

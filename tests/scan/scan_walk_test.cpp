// hgvtool scan drops nothing quietly: a folder it cannot read, a folder too deep, a FIFO among
// the clips are each listed with the reason and make the exit status 1, while every other clip is
// scanned; files planted in the report folder are not written through.

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "app/hgvtool_commands.h"
#include "scan/clip_walk.h"
#include "scan/json_text.h"
#include "scan/one_clip.h"
#include "search/driver/tool_session.h"
#include "tests/support/faulty_file_system.h"
#include "tests/support/scene_clips.h"

namespace {

using testing_support::ToolRun;

namespace fs = std::filesystem;
using testing_support::readBytes;

// The first message of each clip of events.json that was refused, by the clip's path.
std::map<std::string, std::string> refusals(const std::string& eventsJsonPath) {
  const std::vector<std::uint8_t> bytes = readBytes(eventsJsonPath);
  const auto all = scan::parseJson(std::string(bytes.begin(), bytes.end()));
  EXPECT_TRUE(all.has_value());
  std::map<std::string, std::string> out;
  for (const nlohmann::json& item : all ? *all : nlohmann::json::array()) {
    if (item.at("ended").get<std::string>() == "refused" && !item.at("boxes").empty()) {
      out[item.at("clip").get<std::string>()] = item.at("boxes")[0].at("text").get<std::string>();
    }
  }
  return out;
}

class ScanWalkTest : public testing_support::SceneClipTest {
 protected:
  ScanWalkTest() {
    card = file("card");
    fs::create_directories(card + "/locked");
    fs::rename(sceneClip("made.HGV", 6, {{40, 30, 32, 2, 4}}, 160, 120), card + "/a.HGV");
    fs::copy_file(card + "/a.HGV", card + "/locked/b.HGV");
  }

  ToolRun scan(app::Args args) {
    args.insert(args.begin(), card);
    args.insert(args.end(), {"--jobs", "1", "--merge-gap", "2f", "--min-event", "1f"});
    std::ostringstream out, err;
    scan::ScanEnvironment env;
    env.files = &files;
    const int status = app::runScan(args, out, err, env);
    return {status, out.str(), err.str()};
  }

  // A folder `levels` below the card, with a clip at its bottom; its path.
  std::string deepFolder(int levels) {
    std::string path = card;
    for (int i = 0; i < levels; ++i) path += "/d";
    fs::create_directories(path);
    fs::copy_file(card + "/a.HGV", path + "/c.HGV");
    return path;
  }

  std::string card;
  testing_support::FaultyFileSystem files;
};

TEST_F(ScanWalkTest, AnUnreadableFolderAFifoAndATooDeepFolderAreListedAndTheRestIsScanned) {
  files.lockFoldersContaining = "/locked";
  ASSERT_EQ(::mkfifo((card + "/x.hgv").c_str(), 0600), 0);
  const std::string deep = deepFolder(scan::kMaxFolderDepth + 1);
  deepFolder(scan::kMaxFolderDepth);  // its clip is at the deepest level still walked
  const std::string report = file("report");
  const ToolRun run = scan({"--out", report});
  EXPECT_EQ(run.status, 1) << run.err;

  const auto refused = refusals(report + "/events.json");
  ASSERT_EQ(refused.size(), 3u) << run.out;
  EXPECT_EQ(refused.at(card + "/locked"), "cannot read the folder: Permission denied");
  EXPECT_EQ(refused.at(deep), "the folder lies more than 64 levels deep: it was not searched");
  EXPECT_NE(refused.at(card + "/x.hgv").find("Path/File access error"), std::string::npos)
      << refused.at(card + "/x.hgv");
  for (const char* name : {"/locked", "/x.hgv", "levels deep"}) {
    EXPECT_NE(run.out.find(name), std::string::npos) << name << "\n" << run.out;
  }
  // a.HGV and the clip 64 levels down were scanned: two clips with an event each.
  EXPECT_NE(run.out.find("5 clips, 2 events"), std::string::npos) << run.out;
}

TEST_F(ScanWalkTest, AFolderProblemIsLookedAtAgainOnResume) {
  files.lockFoldersContaining = "/locked";
  const std::string report = file("report");
  EXPECT_EQ(scan({"--out", report}).status, 1);
  files.lockFoldersContaining.clear();
  const ToolRun resumed = scan({"--out", report, "--resume"});
  EXPECT_EQ(resumed.status, 0) << resumed.out << resumed.err;
  EXPECT_NE(resumed.out.find("locked/b.HGV"), std::string::npos) << resumed.out;
}

TEST_F(ScanWalkTest, APlantedJournalLinkIsRefusedAndItsTargetIsUntouched) {
  const std::string report = file("shared"), victim = file("victim");
  fs::create_directories(report);
  testing_support::writeBytes(victim, {'k', 'e', 'e', 'p'});
  fs::create_symlink(victim, report + "/scan.jsonl");
  for (const app::Args& args :
       {app::Args{"--out", report}, app::Args{"--out", report, "--resume"}}) {
    const ToolRun run = scan(args);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "hgvtool: cannot write " + report +
                           "/scan.jsonl: Path/File access error (not a regular file)\n");
    EXPECT_EQ(readBytes(victim), (std::vector<std::uint8_t>{'k', 'e', 'e', 'p'}));
  }
}

TEST_F(ScanWalkTest, ATemporaryFolderThatIsNotThereIsAClearMessage) {
  const char* old = std::getenv("TMPDIR");
  const std::string saved = old ? old : "";
  ::setenv("TMPDIR", file("gone").c_str(), 1);
  const ToolRun run = scan({});
  std::ostringstream err;
  EXPECT_THROW(search::ToolSession session(err), search::TempFolderError);
  old ? ::setenv("TMPDIR", saved.c_str(), 1) : ::unsetenv("TMPDIR");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "hgvtool: the temporary folder \"" + file("gone") +
                         "\" (TMPDIR) cannot be used: No such file or directory\n");
  EXPECT_EQ(run.out, "");
}

}  // namespace

// A scan that survives interruption: the journal written clip by clip, the report rebuilt from it,
// --resume going on from it, shards joined by hgvtool report, each time into the report one
// uninterrupted scan of everything gives.

#include <csignal>
#include <filesystem>
#include <regex>
#include <sstream>

#include "app/hgvtool_commands.h"
#include "scan/clip_walk.h"
#include "tests/support/faulty_file_system.h"
#include "tests/support/scene_clips.h"

namespace {

using testing_support::lines;
using testing_support::text;
using testing_support::ToolRun;

namespace fs = std::filesystem;
using testing_support::readBytes;

class HgvtoolJournalTest : public testing_support::SceneClipTest {
 protected:
  HgvtoolJournalTest() {
    folder = file("card");
    fs::create_directories(folder);
    const auto put = [&](const std::string& name, int frames,
                         std::vector<testing_support::Square> squares) {
      fs::rename(sceneClip("made.HGV", frames, squares, 160, 120), folder + "/" + name);
    };
    put("a.HGV", 10, {{40, 30, 32, 3, 6}});
    put("b.HGV", 8, {{90, 50, 24, 2, 5}});
    put("c.HGV", 12, {{20, 60, 32, 4, 9}});
    put("d.HGV", 9, {});
    toolkit::writeWholeFile(m_files, folder + "/e.HGV", std::vector<std::uint8_t>(900, 0x33));
  }

  ToolRun scan(app::Args args, const scan::ScanEnvironment& env = {}) {
    args.insert(args.begin(), folder);
    args.insert(args.end(), {"--jobs", "1", "--merge-gap", "2f", "--min-event", "1f"});
    std::ostringstream out, err;
    const int status = app::runScan(args, out, err, env);
    return {status, out.str(), err.str()};
  }

  // The report of one uninterrupted scan of everything.
  std::string reference() {
    const std::string out = file("reference");
    EXPECT_EQ(scan({"--out", out}).status, 1) << "e.HGV is no clip";
    return out;
  }

  // Two reports say the same: their tables and JSON byte for byte, their pages but for the time
  // the scans took.
  void expectSameReport(const std::string& want, const std::string& got) {
    EXPECT_EQ(text(got + "/events.json"), text(want + "/events.json"));
    EXPECT_EQ(text(got + "/events.csv"), text(want + "/events.csv"));
    const std::regex timing(R"(<div class="timing">.*?</div></div>)");
    EXPECT_EQ(std::regex_replace(text(got + "/index.html"), timing, ""),
              std::regex_replace(text(want + "/index.html"), timing, ""));
    for (const auto& entry : fs::directory_iterator(got)) {
      EXPECT_NE(entry.path().extension(), ".part") << entry.path();
      if (entry.path().extension() == ".jpg") {
        EXPECT_EQ(readBytes(entry.path().string()),
                  readBytes(want + "/" + entry.path().filename().string()))
            << entry.path();
      }
    }
  }

  std::string folder;
  toolkit::PosixFileSystem m_files;
};

TEST_F(HgvtoolJournalTest, AnInterruptedScanResumedGivesTheUninterruptedReport) {
  const std::string want = reference();
  for (const int signal : {SIGINT, SIGTERM}) {
    SCOPED_TRACE(signal);
    const std::string out = file("interrupted-" + std::to_string(signal));
    scan::ScanEnvironment env;
    int done = 0;
    env.afterClip = [&](const scan::ClipScan&) {
      if (++done == 2) std::raise(signal);
    };
    const ToolRun stopped = scan({"--out", out}, env);
    EXPECT_EQ(stopped.status, 128 + signal);
    EXPECT_EQ(lines(text(out + "/scan.jsonl")).size(), 2u) << "the clips done, and no other";
    EXPECT_NE(text(out + "/events.json").find("/b.HGV"), std::string::npos)
        << "the report is rebuilt from what is done";
    EXPECT_EQ(text(out + "/events.json").find("/c.HGV"), std::string::npos);

    const ToolRun resumed = scan({"--out", out, "--resume"});
    EXPECT_EQ(resumed.status, 1);
    EXPECT_EQ(resumed.out.find("/a.HGV:"), std::string::npos) << "done before, not scanned again";
    EXPECT_NE(resumed.out.find("/c.HGV:"), std::string::npos);
    expectSameReport(want, out);
  }
}

TEST_F(HgvtoolJournalTest, ADamagedLastLineIsCutOffAndItsClipScannedAgain) {
  const std::string want = reference();
  const std::string out = file("crashed");
  scan({"--out", out});
  std::string journal = text(out + "/scan.jsonl");
  journal.resize(journal.size() - 40);  // a crash in the middle of the last line
  toolkit::writeWholeFile(m_files, out + "/scan.jsonl",
                          std::vector<std::uint8_t>(journal.begin(), journal.end()));
  const ToolRun resumed = scan({"--out", out, "--resume"});
  const auto scanned = lines(resumed.out);
  ASSERT_FALSE(scanned.empty());
  EXPECT_EQ(scanned[0].rfind(folder + "/e.HGV: not opened", 0), 0u) << "the last one, again";
  EXPECT_EQ(lines(text(out + "/scan.jsonl")).size(), 5u);
  expectSameReport(want, out);
}

TEST_F(HgvtoolJournalTest, AChangedClipIsScannedAgainOnResume) {
  const std::string out = file("changed");
  scan({"--out", out});
  fs::rename(sceneClip("made.HGV", 10, {{60, 40, 40, 2, 8}}, 160, 120), folder + "/b.HGV");
  const ToolRun resumed = scan({"--out", out, "--resume"});
  EXPECT_EQ(lines(resumed.out).at(0).rfind(folder + "/b.HGV: 10 frames", 0), 0u) << resumed.out;
  EXPECT_EQ(resumed.out.find("/a.HGV:"), std::string::npos);
  const std::string want = file("want");
  scan({"--out", want});
  expectSameReport(want, out);
}

TEST_F(HgvtoolJournalTest, AFullDiskEndsTheScanAndResumeGoesOnFromItsJournal) {
  const std::string want = reference();
  const std::string out = file("full");
  // Room for the first clip's thumbnails and line, and a little more.
  const std::string first = lines(text(want + "/scan.jsonl")).at(0);
  std::int64_t room = static_cast<std::int64_t>(first.size()) + 1 + 100;
  const std::regex thumbnail(R"re("thumbnail": "([^"]+)")re");
  for (auto it = std::sregex_iterator(first.begin(), first.end(), thumbnail);
       it != std::sregex_iterator(); ++it) {
    room += static_cast<std::int64_t>(fs::file_size(want + "/" + (*it)[1].str()));
  }
  testing_support::FaultyFileSystem faulty;
  faulty.room = room;
  scan::ScanEnvironment env;
  env.files = &faulty;
  const ToolRun full = scan({"--out", out}, env);
  EXPECT_EQ(full.status, 1);
  EXPECT_NE(full.err.find("hgvtool: cannot write " + out), std::string::npos) << full.err;
  EXPECT_NE(full.err.find("Disk full"), std::string::npos) << full.err;
  EXPECT_EQ(lines(text(out + "/scan.jsonl")).size(), 1u);
  for (const auto& entry : fs::directory_iterator(out)) {
    EXPECT_NE(entry.path().extension(), ".part") << entry.path();
  }
  EXPECT_EQ(scan({"--out", out, "--resume"}).status, 1);
  expectSameReport(want, out);
}

TEST_F(HgvtoolJournalTest, ShardsJoinedGiveTheReportOfOneScan) {
  const std::string want = reference();
  const std::vector<std::string> clips = scan::findClips(m_files, {folder}).clips;
  for (int shards : {1, 2, 3}) {
    SCOPED_TRACE(shards);
    app::Args folders = {file("joined-" + std::to_string(shards))};
    std::vector<std::string> seen;
    for (int k = 1; k <= shards; ++k) {
      const std::string part = file("shard-" + std::to_string(k) + "-of-" + std::to_string(shards));
      scan({"--out", part, "--shard", std::to_string(k) + "/" + std::to_string(shards)});
      folders.push_back(part);
      for (const std::string& clip : scan::shareOf(m_files, clips, k, shards)) seen.push_back(clip);
    }
    std::sort(seen.begin(), seen.end());
    EXPECT_EQ(seen, clips) << "every clip in exactly one share";
    std::ostringstream out, err;
    ASSERT_EQ(app::runReport(folders, out, err), 0) << err.str();
    expectSameReport(want, folders[0]);
  }
}

TEST_F(HgvtoolJournalTest, BadShardsAndReportsAreUsageErrors) {
  for (const char* shard : {"0/2", "3/2", "1/0", "x/2", "2", "1/2/3", "-1/2"}) {
    const ToolRun r = scan({"--shard", shard});
    EXPECT_EQ(r.status, 2) << shard;
    EXPECT_EQ(r.err.rfind("usage: hgvtool scan", 0), 0u);
  }
  EXPECT_EQ(scan({"--resume"}).status, 2) << "only a report can be resumed";
  std::ostringstream out, err;
  EXPECT_EQ(app::runReport({file("joined")}, out, err), 2);
  EXPECT_EQ(app::runReport({file("joined"), file("no-scan")}, out, err), 1);
}

}  // namespace

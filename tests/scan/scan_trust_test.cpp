// A scan's outputs and its journal as an attacker would try them: a journal that names files
// outside its folder or links of another scheme, clips whose every frame fails, names that are
// not UTF-8 or hold escape sequences, numbers that are not numbers. Nothing outside the report's
// folder is touched, and every output stays what its reader takes it for.

#include <filesystem>
#include <regex>
#include <sstream>

#include "app/hgvtool_commands.h"
#include "scan/json_text.h"
#include "scan/one_clip.h"
#include "tests/support/scene_clips.h"

namespace {

using testing_support::lines;
using testing_support::text;
using testing_support::ToolRun;

namespace fs = std::filesystem;
using Json = nlohmann::json;
using testing_support::readBytes;

void put(const std::string& path, const std::string& content) {
  testing_support::writeBytes(path, std::vector<std::uint8_t>(content.begin(), content.end()));
}

// `line` with the first value of `"key": "..."` replaced by `value`.
std::string withName(std::string line, const std::string& key, const std::string& value) {
  const std::regex name("\"" + key + "\": \"[^\"]*\"");
  return std::regex_replace(line, name, "\"" + key + "\": " + scan::jsonText(scan::textJson(value)),
                            std::regex_constants::format_first_only);
}

class ScanTrustTest : public testing_support::SceneClipTest {
 protected:
  ScanTrustTest() : folder(file("card")) { fs::create_directories(folder); }

  // A clip of the card whose square comes and goes: one event or more.
  std::string moving(const std::string& name, int frames = 10) {
    const std::string path = folder + "/" + name;
    fs::rename(sceneClip("made.HGV", frames, {{40, 30, 32, 3, 6}}, 160, 120), path);
    return path;
  }

  ToolRun scan(app::Args args) {
    args.insert(args.end(), {"--jobs", "1", "--merge-gap", "2f", "--min-event", "1f"});
    std::ostringstream out, err;
    const int status = app::runScan(args, out, err);
    return {status, out.str(), err.str()};
  }

  ToolRun report(const app::Args& args) {
    std::ostringstream out, err;
    const int status = app::runReport(args, out, err);
    return {status, out.str(), err.str()};
  }

  // Every link and picture of the page is a name of the scan's own shape, beside it.
  static void expectLinksInside(const std::string& page) {
    const std::regex link(R"re((href|src)="([^"]*)")re");
    for (auto it = std::sregex_iterator(page.begin(), page.end(), link);
         it != std::sregex_iterator(); ++it) {
      EXPECT_TRUE(scan::isEventFileName((*it)[2].str())) << (*it)[0].str();
    }
  }

  std::string folder;
};

TEST_F(ScanTrustTest, AJournalNamingFilesElsewhereHarmsNothingWhenJoinedOrResumed) {
  for (const char* name : {"a.HGV", "b.HGV", "c.HGV"}) moving(name);
  const std::string shard = file("bob/s1");
  ASSERT_EQ(scan({folder, "--out", shard, "--clips", "hgv"}).status, 0);
  // What the attacker leaves beside the shard, and what the victim keeps beside the join.
  put(file("bob/victim.txt"), "the attacker's\n");
  put(file("victim.txt"), "precious\n");
  fs::create_directories(file("elsewhere"));
  put(file("elsewhere/v.hgv"), "also precious\n");
  std::vector<std::string> journal = lines(text(shard + "/scan.jsonl"));
  ASSERT_EQ(journal.size(), 3u);
  journal[0] = withName(journal[0], "thumbnail", "../victim.txt");
  journal[1] = withName(journal[1], "exported", file("elsewhere/v.hgv"));
  journal[2] = withName(journal[2], "exported", "javascript:alert(document.cookie)");
  put(shard + "/scan.jsonl", journal[0] + "\n" + journal[1] + "\n" + journal[2] + "\n");

  const ToolRun joined = report({file("merged"), shard});
  EXPECT_EQ(joined.status, 1);
  EXPECT_NE(joined.err.find(folder + "/a.HGV: its record was refused: the journal names a file "
                                     "outside its folder: ../victim.txt\n"),
            std::string::npos)
      << joined.err;
  EXPECT_NE(joined.err.find("/c.HGV: its record was refused: the journal names a file the scan "
                            "does not write: javascript:alert(document.cookie)\n"),
            std::string::npos)
      << joined.err;
  EXPECT_EQ(text(file("victim.txt")), "precious\n");
  EXPECT_EQ(text(file("elsewhere/v.hgv")), "also precious\n");
  const std::string page = text(file("merged/index.html"));
  expectLinksInside(page);
  EXPECT_NE(page.find("does not write: javascript:alert(document.cookie)</li>"), std::string::npos)
      << "only as the problem's text";
  const Json events = scan::parseJson(text(file("merged/events.json"))).value();
  ASSERT_EQ(events.size(), 3u);
  for (const Json& clip : events) EXPECT_FALSE(clip.at("opened").get<bool>());

  const ToolRun resumed = scan({folder, "--out", shard, "--clips", "hgv", "--resume"});
  EXPECT_EQ(resumed.status, 0) << resumed.err;
  for (const char* name : {"/a.HGV: 10 frames", "/b.HGV: 10 frames", "/c.HGV: 10 frames"}) {
    EXPECT_NE(resumed.out.find(name), std::string::npos) << "scanned again\n" << resumed.out;
  }
  EXPECT_EQ(text(file("victim.txt")), "precious\n");
  EXPECT_EQ(text(file("bob/victim.txt")), "the attacker's\n");
  EXPECT_EQ(text(file("elsewhere/v.hgv")), "also precious\n");
  expectLinksInside(text(shard + "/index.html"));
  EXPECT_EQ(report({file("merged"), shard}).status, 0);
  const std::string rejoined = text(file("merged/index.html"));
  expectLinksInside(rejoined);
  EXPECT_NE(rejoined.find("<img src=\"" + scan::eventFileName(folder + "/a.HGV", 1, ".jpg")),
            std::string::npos);
}

TEST_F(ScanTrustTest, UndecodableFramesGiveOneEntryPerMessageWithTheirRuns) {
  std::vector<std::vector<std::uint8_t>> jpegs;
  for (int i = 0; i < 13; ++i) jpegs.push_back(testing_support::sceneJpeg(160, 120, {}, i));
  for (int i : {3, 4, 5, 6, 7, 10}) jpegs[static_cast<std::size_t>(i)].assign(900, 0x5A);
  const std::string clip = writeClip("broken.HGV", jpegs, 160, 120);
  const std::string out = file("report");
  const ToolRun scanned = scan({clip, "--out", out});
  const std::string boxes =
      "\"boxes\": [{\"text\": \"It is not BMP file. \", \"icon\": \"critical\", \"title\": "
      "\"Warning\", \"frames\": [[3, 7], [10, 10]]}]";
  EXPECT_NE(text(out + "/scan.jsonl").find(boxes), std::string::npos) << text(out + "/scan.jsonl");
  EXPECT_NE(text(out + "/events.json").find(boxes), std::string::npos);
  EXPECT_NE(text(out + "/index.html").find("It is not BMP file. (frames 4-8, 11)"),
            std::string::npos);
  EXPECT_NE(scanned.out.find(": 13 frames, 0 events\n  It is not BMP file. (frames 4-8, 11)\n"),
            std::string::npos)
      << scanned.out;

  // Thousands of failing frames cost one entry, and a line of the journal no longer for them.
  jpegs.assign(3000, std::vector<std::uint8_t>(64, 0x5A));
  jpegs[0] = testing_support::sceneJpeg(32, 24, {}, 0);
  const std::string many = writeClip("many.HGV", jpegs, 32, 24);
  const ToolRun json = scan({many, "--json"});
  const Json object = scan::parseJson(json.out).value();
  ASSERT_EQ(object.at("boxes").size(), 1u) << json.out.substr(0, 400);
  const auto& runs = object.at("boxes")[0].at("frames");
  ASSERT_EQ(runs.size(), 1u);
  EXPECT_EQ(runs[0][0].get<long long>(), 1);
  EXPECT_EQ(runs[0][1].get<long long>(), 2999);
  EXPECT_LT(json.out.size(), 400u);
}

TEST_F(ScanTrustTest, ANameThatIsNotUtf8IsValidJsonAndItsBytesComeBack) {
  const std::string odd = moving("caf\xe9\xff.HGV");
  moving("plain.HGV");
  const std::string out = file("report");
  const ToolRun first = scan({folder, "--out", out});
  ASSERT_EQ(first.status, 0) << first.err;
  const std::string json = text(out + "/events.json");
  EXPECT_TRUE(scan::isUtf8(json));
  const Json events = scan::parseJson(json).value();
  const Json& clip = events.at(0);
  EXPECT_EQ(clip.at("clip").get<std::string>(), scan::validUtf8(odd));
  std::string bytes;
  const std::string& hex = clip.at("clip_bytes").get<std::string>();
  for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
  }
  EXPECT_EQ(bytes, odd);
  EXPECT_FALSE(events.at(1).contains("clip_bytes"));
  for (const std::string& line : lines(text(out + "/scan.jsonl"))) {
    EXPECT_TRUE(scan::isUtf8(line) && scan::parseJson(line).has_value()) << line;
  }
  EXPECT_TRUE(scan::isUtf8(first.out)) << "escaped on the terminal as well";
  EXPECT_NE(first.out.find("/caf\\xe9\\xff.HGV: 10 frames"), std::string::npos) << first.out;

  const ToolRun resumed = scan({folder, "--out", out, "--resume"});
  EXPECT_EQ(resumed.status, 0);
  EXPECT_EQ(lines(resumed.out).size(), 1u) << "the journal gave the exact path: nothing to scan\n"
                                           << resumed.out;
  EXPECT_EQ(text(out + "/events.json"), json);
}

TEST_F(ScanTrustTest, ANonFiniteNumberMakesItsLineDamaged) {
  moving("a.HGV");
  moving("b.HGV");
  const std::string shard = file("s1");
  scan({folder, "--out", shard});
  std::vector<std::string> journal = lines(text(shard + "/scan.jsonl"));
  ASSERT_EQ(journal.size(), 2u);
  journal[0] =
      std::regex_replace(journal[0], std::regex(R"("scan_s": [0-9.]+)"), "\"scan_s\": -inf");
  put(shard + "/scan.jsonl", journal[0] + "\n" + journal[1] + "\n");
  const ToolRun joined = report({file("merged"), shard});
  EXPECT_EQ(joined.status, 1);
  EXPECT_EQ(joined.err, "hgvtool: " + shard + "/scan.jsonl: 1 damaged line passed over\n");
  EXPECT_EQ(text(file("merged/events.json")).find("/a.HGV"), std::string::npos);
  const ToolRun resumed = scan({folder, "--out", shard, "--resume"});
  EXPECT_EQ(lines(resumed.out).at(0).rfind(folder + "/a.HGV: 10 frames", 0), 0u) << resumed.out;
  EXPECT_NE(text(shard + "/events.json").find("/a.HGV"), std::string::npos);
}

TEST_F(ScanTrustTest, EscapeSequencesInANameReachTheTerminalEscaped) {
  moving("a\x1b]0;owned\x07\x1b[2J.HGV");
  const std::string out = file("out\x1b[31m");
  const ToolRun scanned = scan({folder, "--out", out});
  EXPECT_EQ(scanned.status, 0) << scanned.err;
  EXPECT_EQ(scanned.out.find('\x1b'), std::string::npos) << scanned.out;
  EXPECT_NE(scanned.out.find("/a\\x1b]0;owned\\x07\\x1b[2J.HGV: 10 frames"), std::string::npos);
  EXPECT_NE(scanned.out.find("out\\x1b[31m/index.html\n"), std::string::npos) << scanned.out;
  const ToolRun joined = report({file("merged"), out});
  EXPECT_EQ(joined.out.rfind("1 clip, ", 0), 0u);
  EXPECT_EQ(joined.out.find('\x1b'), std::string::npos);
  EXPECT_EQ(report({file("merged\x07"), out}).out.find('\x07'), std::string::npos);
}

}  // namespace

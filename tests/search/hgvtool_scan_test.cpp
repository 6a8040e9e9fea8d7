// hgvtool scan: every clip of a folder accounted for, each clip's events exactly those of
// hgvtool search --all on it alone, and a report a browser opens from the disk.

#include <filesystem>
#include <regex>
#include <sstream>

#include "app/hgvtool_commands.h"
#include "clip/clip_writer.h"
#include "tests/support/window_fixture.h"
#include "toolkit/core/image.h"

namespace {

using testing_support::readBytes;
using testing_support::Square;

struct ToolRun {
  int status;
  std::string out, err;
};

std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> out;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) out.push_back(line);
  return out;
}

std::string text(const std::string& path) {
  const auto bytes = readBytes(path);
  return {bytes.begin(), bytes.end()};
}

class HgvtoolScanTest : public testing_support::WindowFixture {
 protected:
  template <typename Run>
  ToolRun run(Run command, app::Args args) {
    std::ostringstream out, err;
    const int status = command(args, out, err);
    return {status, out.str(), err.str()};
  }

  // What hgvtool search --all finds in a clip: "frame, marked" of each result.
  std::vector<std::string> searchAll(const std::string& clip) {
    const ToolRun r = run(app::runSearch, {clip, "--all", "--json"});
    std::vector<std::string> found;
    const std::regex result(
        R"re(\{"ended": "found", "CurrentFrame": -?\d+, "frame": (\d+), .*"marked": (\[.*\]), "boxes")re");
    for (const std::string& line : lines(r.out)) {
      std::smatch m;
      if (std::regex_search(line, m, result)) found.push_back(m[1].str() + " " + m[2].str());
    }
    return found;
  }

  // The same of one object of events.json.
  static std::vector<std::string> events(const std::string& object) {
    std::vector<std::string> found;
    const std::regex event(
        R"re(\{"frame": (\d+), "time_s": [0-9.]+, "marked": (\[[^a-z]*\]), "thumbnail")re");
    for (auto it = std::sregex_iterator(object.begin(), object.end(), event);
         it != std::sregex_iterator(); ++it) {
      found.push_back((*it)[1].str() + " " + (*it)[2].str());
    }
    return found;
  }

  // A folder as a card leaves it: clips with motion, one in a subfolder, a file that is no clip
  // at all, a recording cut off without its index, a clip of one frame, and a file of another
  // kind, which is not looked at.
  std::string card() {
    const std::string folder = file("card");
    std::filesystem::create_directories(folder + "/100");
    const auto moved = [&](const std::string& name, int count, std::vector<Square> squares) {
      const std::string made = sceneClip("made.HGV", count, squares, 320, 240);
      std::filesystem::rename(made, folder + "/" + name);
    };
    moved("a.HGV", 12, {{100, 60, 40, 3, 7}});
    moved("100/b.hgv", 9, {{180, 120, 32, 2, 5}, {40, 40, 32, 6, 9}});
    moved("d-one.HGV", 1, {});
    toolkit::writeWholeFile(m_files, folder + "/c-broken.HGV",
                            std::vector<std::uint8_t>(5000, 0x42));
    toolkit::writeWholeFile(m_files, folder + "/notes.txt", std::vector<std::uint8_t>(10, 'x'));

    clip::ClipLayout layout;
    layout.width = 320;
    layout.height = 240;
    layout.writeIndex = false;
    std::vector<clip::ClipFrame> frames;
    for (int i = 0; i < 8; ++i) {
      clip::ClipFrame frame;
      frame.data = testing_support::sceneJpeg(320, 240, {{60, 100, 48, 3, 6}}, i);
      frames.push_back(std::move(frame));
    }
    auto bytes = clip::buildClip(layout, frames);
    bytes.resize(bytes.size() - 100);  // the last frame half written
    toolkit::writeWholeFile(m_files, folder + "/b-cut.HGV", bytes);
    return folder;
  }

  toolkit::PosixFileSystem m_files;
};

TEST_F(HgvtoolScanTest, AFolderIsScannedClipByClipAsSearchAllScansEachAlone) {
  const std::string folder = card();
  const std::string out = file("report");
  const ToolRun scan = run(app::runScan, {folder, "--out", out, "--jobs", "3"});
  EXPECT_EQ(scan.status, 1) << "a clip was refused";
  EXPECT_EQ(scan.out.rfind("5 clips, ", 0), 0u) << scan.out;
  EXPECT_NE(scan.out.find(" events: " + out + "/index.html\n"), std::string::npos) << scan.out;

  const std::vector<std::string> clips = {folder + "/100/b.hgv", folder + "/a.HGV",
                                          folder + "/b-cut.HGV", folder + "/c-broken.HGV",
                                          folder + "/d-one.HGV"};
  const std::vector<std::string> objects = lines(text(out + "/events.json"));
  ASSERT_EQ(objects.size(), clips.size() + 2) << "[, one line per clip, ]";
  EXPECT_EQ(objects.front(), "[");
  EXPECT_EQ(objects.back(), "]");
  for (std::size_t i = 0; i < clips.size(); ++i) {
    const std::string& object = objects[i + 1];
    EXPECT_EQ(object.rfind("{\"clip\": \"" + clips[i] + "\", \"opened\": ", 0), 0u) << object;
  }

  // Each clip that opens: the events of hgvtool search --all, with a thumbnail each.
  for (const std::size_t i : {0u, 1u, 2u}) {
    const std::string& object = objects[i + 1];
    EXPECT_NE(object.find("\"opened\": true, \"ended\": \"end_of_run\""), std::string::npos);
    const auto found = events(object);
    EXPECT_FALSE(found.empty()) << clips[i];
    EXPECT_EQ(found, searchAll(clips[i])) << clips[i];
  }
  EXPECT_NE(objects[3].find("\"TotalFrames\": 7, \"duration_s\": 0.7, \"boxes\": []"),
            std::string::npos)
      << "the cut-off recording opens with its whole frames: " << objects[3];
  EXPECT_NE(objects[4].find("\"opened\": false, \"ended\": \"refused\", \"TotalFrames\": 0"),
            std::string::npos)
      << objects[4];
  EXPECT_NE(objects[4].find("\"boxes\": [{\"text\": "), std::string::npos) << "with its message";
  EXPECT_NE(objects[5].find("\"opened\": true, \"ended\": \"end_of_run\", \"TotalFrames\": 1, "
                            "\"duration_s\": 0.1, \"boxes\": [], \"events\": []}"),
            std::string::npos)
      << objects[5];

  // A thumbnail: the marked picture, small, with its marks in blue.
  const std::regex thumbnail(R"re("thumbnail": "([^"]+)")re");
  std::smatch m;
  ASSERT_TRUE(std::regex_search(objects[2], m, thumbnail));
  EXPECT_EQ(m[1].str().rfind("002-a-0000", 0), 0u) << m[1];
  const auto picture = toolkit::decodeJpeg(readBytes(out + "/" + m[1].str()));
  ASSERT_TRUE(picture.has_value());
  EXPECT_EQ(picture->width, 320);
  std::size_t blue = 0;
  for (std::size_t p = 0; p < picture->pixels.size(); p += 3) {
    const int r = picture->pixels[p], g = picture->pixels[p + 1], b = picture->pixels[p + 2];
    blue += b > r + 100 && b > g + 100;
  }
  EXPECT_GT(blue, 8u);

  // The page and the table name every clip; the page loads nothing from elsewhere.
  const std::string page = text(out + "/index.html");
  const std::string table = text(out + "/events.csv");
  for (const std::string& clip : clips) {
    EXPECT_NE(page.find(clip), std::string::npos) << clip;
    EXPECT_NE(table.find("\r\n" + clip + ","), std::string::npos) << clip;
  }
  EXPECT_NE(page.find("<img src=\"" + m[1].str() + "\""), std::string::npos);
  EXPECT_EQ(page.find("http"), std::string::npos);
  EXPECT_EQ(page.find("<script"), std::string::npos);
  EXPECT_NE(table.find(folder + "/c-broken.HGV,false,refused,0,0,0,,,,,"), std::string::npos);
  EXPECT_FALSE(std::filesystem::exists(out + "/notes.txt"));
  for (const auto& entry : std::filesystem::directory_iterator(out)) {
    EXPECT_EQ(entry.path().extension() == ".part", false) << entry.path();
  }

  // --json prints the same objects, and one job finds what three found.
  const ToolRun json = run(app::runScan, {folder, "--json", "--jobs", "1"});
  EXPECT_EQ(json.status, 1);
  const auto printed = lines(json.out);
  ASSERT_EQ(printed.size(), clips.size());
  for (std::size_t i = 0; i < clips.size(); ++i) {
    std::string object = objects[i + 1];
    if (object.back() == ',') object.pop_back();
    EXPECT_EQ(std::regex_replace(printed[i], thumbnail, "\"thumbnail\": null"),
              std::regex_replace(object, thumbnail, "\"thumbnail\": null"));
  }
}

TEST_F(HgvtoolScanTest, UsageAndNothingToScan) {
  EXPECT_EQ(run(app::runScan, {}).status, 2);
  EXPECT_EQ(run(app::runScan, {file("x"), "--jobs", "0"}).status, 2);
  EXPECT_EQ(run(app::runScan, {file("x"), "--area", "1,2,3"}).status, 2);
  std::filesystem::create_directories(file("empty"));
  const ToolRun none = run(app::runScan, {file("empty")});
  EXPECT_EQ(none.status, 1);
  EXPECT_EQ(none.err, "hgvtool: no .hgv clips found\n");
  const ToolRun gone = run(app::runScan, {file("gone.HGV"), "--json"});
  EXPECT_EQ(gone.status, 1);
  EXPECT_EQ(gone.out.rfind("{\"clip\": \"" + file("gone.HGV") + "\", \"opened\": false", 0), 0u)
      << gone.out;
}

}  // namespace

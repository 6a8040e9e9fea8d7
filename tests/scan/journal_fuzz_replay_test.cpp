// Runs the journal's fuzz target over thousands of damaged journals made from the lines a real
// scan writes: bytes flipped, lines cut, numbers swapped for huge, negative and non-finite ones,
// names for paths and links, stray bytes that are not UTF-8, lines run together. Set
// HG_WRITE_FUZZ_CORPUS to a folder to also write the undamaged seeds there for a libFuzzer run.

#include <cstdlib>
#include <filesystem>
#include <random>
#include <sstream>

#include "app/hgvtool_commands.h"
#include "fuzz/journal_fuzz.h"
#include "tests/support/scene_clips.h"

namespace {

class JournalFuzzReplayTest : public testing_support::SceneClipTest {
 protected:
  // The journal of a scan of a clip with events and their clips, a clip of frames that fail, a
  // file that is no clip, and a clip whose name is not UTF-8; then that journal line by line.
  std::vector<std::string> seeds() {
    const std::string folder = file("card");
    std::filesystem::create_directories(folder);
    std::filesystem::rename(sceneClip("made.HGV", 10, {{40, 30, 32, 3, 6}}, 160, 120),
                            folder + "/a.HGV");
    std::filesystem::rename(sceneClip("made.HGV", 8, {{20, 20, 32, 2, 5}}, 160, 120),
                            folder + "/caf\xe9.HGV");
    std::vector<std::vector<std::uint8_t>> jpegs;
    for (int i = 0; i < 9; ++i) jpegs.push_back(testing_support::sceneJpeg(64, 48, {}, i));
    for (int i : {2, 3, 6}) jpegs[static_cast<std::size_t>(i)].assign(300, 0x5A);
    std::filesystem::rename(writeClip("made.HGV", jpegs, 64, 48), folder + "/broken.HGV");
    testing_support::writeBytes(folder + "/junk.HGV", std::vector<std::uint8_t>(500, 0x33));
    const std::string out = file("report");
    std::ostringstream quiet;
    app::runScan({folder, "--out", out, "--clips", "hgv", "--jobs", "1", "--merge-gap", "2f",
                  "--min-event", "1f"},
                 quiet, quiet);
    const auto bytes = testing_support::readBytes(out + "/scan.jsonl");
    const std::string journal(bytes.begin(), bytes.end());
    std::vector<std::string> found;
    found.push_back(journal);
    for (std::size_t start = 0, end; (end = journal.find('\n', start)) != std::string::npos;
         start = end + 1) {
      found.push_back(journal.substr(start, end - start + 1));
    }
    return found;
  }
};

const std::vector<std::string> kTokens = {"-inf",
                                          "1e999",
                                          "nan",
                                          "-0",
                                          "-1",
                                          "2147483648",
                                          "32767",
                                          "99999999999999999999",
                                          "0.5",
                                          "1e300",
                                          "../",
                                          "/etc/passwd",
                                          "javascript:alert(1)",
                                          "\\ud800",
                                          "\\u0000",
                                          "\xff",
                                          "\xc3",
                                          "\xed\xa0\x80",
                                          "null",
                                          "true",
                                          "\"",
                                          ",",
                                          "[",
                                          "]",
                                          "{",
                                          "}",
                                          "\n",
                                          "[[0, 99999]]",
                                          "\"frames\": [[0, 0]], ",
                                          "\"clip_bytes\": \"ff\", ",
                                          "\"thumbnail\": \"../x.jpg\", "};

void mutate(std::string& s, const std::vector<std::string>& base, std::mt19937& rng) {
  const std::size_t at = s.empty() ? 0 : rng() % s.size();
  const std::string& token = kTokens[rng() % kTokens.size()];
  switch (rng() % 7) {
    case 0:
      if (!s.empty()) s[at] = static_cast<char>(s[at] ^ (1 + rng() % 255));
      break;
    case 1:
      s.resize(at);
      break;
    case 2:
      s.insert(at, token);
      break;
    case 3: {
      // A number of the record swapped for another.
      const std::size_t digit = s.find_first_of("0123456789", at);
      if (digit == std::string::npos) break;
      const std::size_t end = s.find_first_not_of("0123456789.", digit);
      s.replace(digit, (end == std::string::npos ? s.size() : end) - digit, token);
      break;
    }
    case 4:
      s.erase(at, rng() % 40);
      break;
    case 5:
      s += base[rng() % base.size()];
      break;
    default: {
      // A name of the record swapped for a path or a link.
      const std::size_t name = s.find("\": \"", at);
      if (name == std::string::npos) break;
      const std::size_t end = s.find('"', name + 4);
      if (end != std::string::npos) s.replace(name + 4, end - name - 4, token);
    }
  }
}

TEST_F(JournalFuzzReplayTest, DamagedJournalsAreTakenOrRefusedWithinTheirChecks) {
  const std::vector<std::string> base = seeds();
  ASSERT_EQ(base.size(), 5u) << "the journal and its four lines";
  if (const char* dir = std::getenv("HG_WRITE_FUZZ_CORPUS")) {
    for (std::size_t i = 0; i < base.size(); ++i) {
      testing_support::writeBytes(std::string(dir) + "/seed" + std::to_string(i),
                                  std::vector<std::uint8_t>(base[i].begin(), base[i].end()));
    }
  }
  const auto run = [](const std::string& s) {
    fuzzing::readJournalBytes(reinterpret_cast<const std::uint8_t*>(s.data()), s.size());
  };
  for (const std::string& seed : base) run(seed);
  std::mt19937 rng(2025);
  for (int round = 0; round < 3000; ++round) {
    std::string journal = base[rng() % base.size()];
    const int edits = 1 + static_cast<int>(rng() % 4);
    for (int e = 0; e < edits; ++e) mutate(journal, base, rng);
    run(journal);
  }
}

}  // namespace

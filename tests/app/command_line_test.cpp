// The option tables: the same rows parse the arguments and write the usage.

#include "app/command_line.h"

#include <gtest/gtest.h>

#include <CLI/CLI.hpp>
#include <sstream>

#include "app/hgvtool_commands.h"

namespace app {
namespace {

struct Table {
  bool json = false;
  long long n = 5;
  std::string out;
  std::vector<std::string> clips;
  CommandLine line{"tool run"};
  bool keep = false, all = false, one = false;
  CLI::Option* outOption = nullptr;

  Table() {
    line.positionals("CLIP...", clips, -1);
    line.flag("--json", json);
    line.number("--n", "N", n, 1, 9);
    outOption = line.text("--out", "DIR", out);
    line.within(outOption, line.flag("--keep", keep));
    line.oneOf({line.flag("--all", all), line.flag("--one", one)}, false);
    line.note("N is a digit");
  }
};

TEST(CommandLineTest, RowsTakeTheirValuesAndRefuseWhatTheyDoNotAllow) {
  Table t;
  ASSERT_TRUE(t.line.parse({"a", "--n", "3", "b", "--json", "--n", "-0", "--n", "7"}));
  EXPECT_EQ(t.clips, (std::vector<std::string>{"a", "b"}));
  EXPECT_TRUE(t.json);
  EXPECT_EQ(t.n, 7) << "a repeated option keeps its last value";

  for (const Args& bad : {Args{}, Args{"a", "--n", "10"}, Args{"a", "--n", "0x3"}, Args{"a", "--n"},
                          Args{"a", "--bogus"}, Args{"a", "--help"}, Args{"a", "--keep"},
                          Args{"a", "--all", "--one"}}) {
    Table fresh;
    EXPECT_FALSE(fresh.line.parse(bad)) << testing::PrintToString(bad);
  }
  Table withOut;
  EXPECT_TRUE(withOut.line.parse({"a", "--out", "d", "--keep", "--all"}));
}

TEST(CommandLineTest, TheUsageIsWrittenFromTheRows) {
  Table t;
  EXPECT_EQ(t.line.usage(),
            "usage: tool run CLIP... [--json] [--n N] [--out DIR [--keep]] [--all | --one]\n"
            "       N is a digit\n");
}

TEST(CommandLineTest, HgvtoolsSynopsesWrapUnderTheirFirstArgument) {
  EXPECT_EQ(
      searchSynopsis(7),
      "hgvtool search CLIP [--from N] [--back] [--area L,T,R,B] [--sensitivity TEXT]\n"
      "                      [--threshold T] [--count K | --all] [--marked OUT.bmp] [--json]\n"
      "                      [--threads N]");
  EXPECT_EQ(exportSynopsis(7),
            "hgvtool export CLIP --frame N (--jpg OUT | --hgv OUT | --wmv OUT) [--count K]");
  EXPECT_EQ(scanSynopsis(7),
            "hgvtool scan CLIP_OR_FOLDER... [--area L,T,R,B] [--sensitivity TEXT] [--jobs N]\n"
            "                    [--merge-gap D] [--min-event D] [--before D] [--after D]\n"
            "                    [--out DIR [--clips hgv|wmv|mp4] [--resume]] [--shard K/N] "
            "[--json]\n"
            "                    [--ext LIST]");
  EXPECT_EQ(diffSynopsis(7),
            "hgvtool diff [--json] [--sensitivity TEXT] [--threshold T] (CLIP N | A.jpg B.jpg)");
}

TEST(CommandLineTest, AUsageErrorPrintsTheSubcommandsUsageAndExitsTwo) {
  std::ostringstream out, err;
  EXPECT_EQ(runExport({"clip.hgv", "--frame", "3", "--jpg", "a.jpg", "--hgv", "b.hgv"}, out, err),
            2);
  EXPECT_EQ(err.str(),
            "usage: " + exportSynopsis(7) +
                "\n       N counts from 0; K frames from it (default 50), fewer where the clip "
                "ends first\n");
  EXPECT_EQ(out.str(), "");
}

}  // namespace
}  // namespace app

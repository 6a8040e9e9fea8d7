// The layer table of ARCHITECTURE.md is the rule for includes: a file may include what its own
// row or a lower row holds, never what a higher row holds. This test reads the table and every
// quoted include of the product code (the folders the top CMakeLists.txt adds, less the tests,
// benchmarks and fuzz targets) and names each include that goes up, and each file or include in
// a folder the table has no row for.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

struct LayerFolder {
  std::string folder;  // relative to the source root, ending in '/'
  int row = 0;         // from 0 at the bottom of the table
};

struct SourceFile {
  std::string path;  // relative to the source root
  std::string text;
};

std::string readText(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream out;
  out << in.rdbuf();
  return out.str();
}

std::vector<std::string> splitLines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

// The folders of each row of the table under "## Layers, bottom up", by its Folder column. A
// cell may name several folders, each in backquotes.
std::vector<LayerFolder> parseLayerTable(const std::string& markdown) {
  std::vector<LayerFolder> folders;
  bool inSection = false;
  int folderColumn = -1;
  int row = 0;
  for (const std::string& line : splitLines(markdown)) {
    if (line.rfind("## ", 0) == 0) inSection = line == "## Layers, bottom up";
    if (!inSection || line.rfind("|", 0) != 0) continue;
    std::vector<std::string> cells;
    std::istringstream in(line.substr(1));
    for (std::string cell; std::getline(in, cell, '|');) cells.push_back(cell);
    if (folderColumn < 0) {
      for (size_t i = 0; i < cells.size(); ++i) {
        if (cells[i].find("Folder") != std::string::npos) folderColumn = static_cast<int>(i);
      }
      continue;
    }
    if (static_cast<size_t>(folderColumn) >= cells.size()) continue;
    const std::string& cell = cells[static_cast<size_t>(folderColumn)];
    if (cell.find_first_not_of(" -:") == std::string::npos) continue;  // the rule under the head
    static const std::regex kFolder("`([^`]+/)`");
    for (std::sregex_iterator it(cell.begin(), cell.end(), kFolder), end; it != end; ++it) {
      folders.push_back({(*it)[1].str(), row});
    }
    ++row;
  }
  return folders;
}

// The row of the longest folder that `path` lies in.
std::optional<int> rowOf(const std::vector<LayerFolder>& table, const std::string& path) {
  std::optional<int> row;
  size_t longest = 0;
  for (const LayerFolder& layer : table) {
    if (path.rfind(layer.folder, 0) == 0 && layer.folder.size() > longest) {
      longest = layer.folder.size();
      row = layer.row;
    }
  }
  return row;
}

std::vector<std::string> quotedIncludes(const std::string& text) {
  static const std::regex kInclude(R"(^\s*#\s*include\s*"([^"]+)\")");
  std::vector<std::string> includes;
  for (const std::string& line : splitLines(text)) {
    std::smatch match;
    if (std::regex_search(line, match, kInclude)) includes.push_back(match[1].str());
  }
  return includes;
}

// One line for each include that goes up the table and each file or include outside it. An
// include is taken from the source root, as the build takes it, or else beside its file.
std::vector<std::string> layerFaults(const std::vector<LayerFolder>& table,
                                     const std::vector<SourceFile>& files) {
  std::vector<std::string> faults;
  for (const SourceFile& file : files) {
    const std::optional<int> own = rowOf(table, file.path);
    if (!own) {
      faults.push_back(file.path + ": its folder has no row in the layer table");
      continue;
    }
    const std::string folder = file.path.substr(0, file.path.rfind('/') + 1);
    for (const std::string& include : quotedIncludes(file.text)) {
      std::optional<int> row = rowOf(table, include);
      if (!row && include.find('/') == std::string::npos) row = rowOf(table, folder + include);
      if (!row) {
        faults.push_back(file.path + ": includes \"" + include +
                         "\", whose folder has no row in the layer table");
      } else if (*row > *own) {
        faults.push_back(file.path + ": includes \"" + include + "\", a higher layer");
      }
    }
  }
  return faults;
}

// The product's folders: those the top CMakeLists.txt builds, less the tests, the benchmarks
// and the fuzz targets.
std::vector<std::string> productFolders(const fs::path& root) {
  static const std::regex kSubdirectory(R"(add_subdirectory\(\s*([A-Za-z0-9_./-]+)\s*\))");
  const std::string cmake = readText(root / "CMakeLists.txt");
  std::vector<std::string> folders;
  for (std::sregex_iterator it(cmake.begin(), cmake.end(), kSubdirectory), end; it != end; ++it) {
    const std::string folder = (*it)[1].str();
    const std::string top = folder.substr(0, folder.find('/'));
    if (top != "tests" && top != "bench" && top != "fuzz") folders.push_back(folder);
  }
  return folders;
}

std::vector<SourceFile> productSources(const fs::path& root) {
  std::vector<SourceFile> files;
  for (const std::string& folder : productFolders(root)) {
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root / folder)) {
      const std::string ext = entry.path().extension().string();
      if (!entry.is_regular_file() || (ext != ".h" && ext != ".cpp")) continue;
      files.push_back({fs::relative(entry.path(), root).generic_string(), readText(entry.path())});
    }
  }
  std::sort(files.begin(), files.end(),
            [](const SourceFile& a, const SourceFile& b) { return a.path < b.path; });
  return files;
}

std::string joined(const std::vector<std::string>& lines) {
  std::string out;
  for (const std::string& line : lines) out += line + "\n";
  return out;
}

const char* kTable = R"(# Architecture

## Layers, bottom up

| Layer | Folder | Target |
|---|---|---|
| Core | `lib/core/` | `core` |
| Reader | `lib/` | `reader` |
| Windows | `ui/`, `ui/art/` | `windows` |
| Programs | `app/` | `tool` |

## Who owns what

| Name | Folder |
|---|---|
| Nothing | `elsewhere/` |
)";

TEST(LayerTableTest, RowsAreReadBottomUpFromTheFolderColumnOfItsOwnSection) {
  const std::vector<LayerFolder> table = parseLayerTable(kTable);
  ASSERT_EQ(table.size(), 5u);
  EXPECT_EQ(table[0].folder, "lib/core/");
  EXPECT_EQ(table[1].folder, "lib/");
  EXPECT_EQ(table[2].folder, "ui/");
  EXPECT_EQ(table[3].folder, "ui/art/");
  EXPECT_EQ(table[3].row, 2);
  EXPECT_EQ(table[4].row, 3);
  EXPECT_EQ(rowOf(table, "lib/core/int.h"), 0);
  EXPECT_EQ(rowOf(table, "lib/reader.h"), 1);
  EXPECT_EQ(rowOf(table, "elsewhere/x.h"), std::nullopt);
  EXPECT_EQ(rowOf(table, "library/x.h"), std::nullopt);
}

TEST(LayerTableTest, AnIncludeUpTheTableOrOutsideItIsNamedWithItsFile) {
  const std::vector<LayerFolder> table = parseLayerTable(kTable);
  const std::vector<SourceFile> files = {
      {"lib/core/int.h", "#include \"lib/core/bits.h\"\n#include <vector>\n"},
      {"lib/reader.cpp", "#include \"lib/reader.h\"\n  # include \"ui/form.h\"\n"},
      {"ui/form.cpp", "#include \"lib/core/int.h\"\n#include \"form.h\"\n#include \"app/x.h\"\n"},
      {"app/main.cpp", "#include \"ui/form.h\"\n#include \"vendor/lib.h\"\n"},
      {"stray/file.cpp", "#include \"lib/reader.h\"\n"},
  };
  EXPECT_EQ(joined(layerFaults(table, files)),
            "lib/reader.cpp: includes \"ui/form.h\", a higher layer\n"
            "ui/form.cpp: includes \"app/x.h\", a higher layer\n"
            "app/main.cpp: includes \"vendor/lib.h\", whose folder has no row in the layer table\n"
            "stray/file.cpp: its folder has no row in the layer table\n");
}

TEST(LayersTest, NoProductFileIncludesAHigherLayer) {
  const fs::path root(HG_SOURCE_DIR);
  const std::vector<LayerFolder> table = parseLayerTable(readText(root / "ARCHITECTURE.md"));
  ASSERT_GE(table.size(), 10u) << "the layer table of ARCHITECTURE.md was not found";
  const std::vector<SourceFile> files = productSources(root);
  ASSERT_GE(files.size(), 100u);
  EXPECT_EQ(joined(layerFaults(table, files)), "");
}

}  // namespace

#include "toolkit/core/program_folder.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace toolkit {

std::string programFolderFor(const std::string& executable) {
  const std::filesystem::path dir = std::filesystem::path(executable).parent_path();
  // An installed program (/usr/bin, ~/.local/bin) keeps no scratch files beside itself, even
  // where its folder could be written, as by root.
  const bool installed = dir.filename() == "bin";
  if (!executable.empty() && !installed && ::access(dir.c_str(), W_OK) == 0) return dir.string();
  std::error_code ec;
  std::filesystem::path base;
  if (const char* xdg = std::getenv("XDG_DATA_HOME"); xdg && *xdg) {
    base = xdg;
  } else if (const char* home = std::getenv("HOME"); home && *home) {
    base = std::filesystem::path(home) / ".local" / "share";
  } else {
    base = std::filesystem::temp_directory_path(ec);
  }
  auto data = base / "harrowglen";
  std::filesystem::create_directories(data, ec);
  return data.string();
}

std::string defaultProgramFolder() {
  std::error_code ec;
  const auto exe = std::filesystem::read_symlink("/proc/self/exe", ec);
  return programFolderFor(ec ? std::string() : exe.string());
}

std::string folderWithSeparator(const std::string& path) {
  auto pos = path.find_last_of('/');
  return pos == std::string::npos ? std::string() : path.substr(0, pos + 1);
}

}  // namespace toolkit

#include "toolkit/core/program_folder.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace toolkit {

std::string defaultProgramFolder() {
  std::error_code ec;
  auto exe = std::filesystem::read_symlink("/proc/self/exe", ec);
  if (!ec) {
    auto dir = exe.parent_path();
    if (::access(dir.c_str(), W_OK) == 0) return dir.string();
  }
  std::filesystem::path base;
  if (const char* xdg = std::getenv("XDG_DATA_HOME"); xdg && *xdg) {
    base = xdg;
  } else if (const char* home = std::getenv("HOME"); home && *home) {
    base = std::filesystem::path(home) / ".local" / "share";
  } else {
    base = std::filesystem::temp_directory_path(ec);
  }
  auto dir = base / "harrowglen";
  std::filesystem::create_directories(dir, ec);
  return dir.string();
}

std::string folderWithSeparator(const std::string& path) {
  auto pos = path.find_last_of('/');
  return pos == std::string::npos ? std::string() : path.substr(0, pos + 1);
}

}  // namespace toolkit

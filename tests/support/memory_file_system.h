#pragma once

// Files held in memory, behind the program's file-system seam: the fuzz target runs the reader at
// full speed without touching a disk, and tests see every byte a procedure wrote without a temp
// folder. Paths are plain keys; there are no folders.

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "toolkit/core/file_system.h"
#include "toolkit/core/runtime_error.h"

namespace testing_support {

class MemoryFileSystem : public toolkit::FileSystem {
 public:
  // The files, by path. A test may put, read or take away any of them directly.
  std::map<std::string, std::vector<std::uint8_t>> files;
  // While set, opening a file for writing fails with this error (a full disk, a folder that
  // cannot be written).
  std::optional<toolkit::ErrorNumber> failWrites;

  // A missing file is "File not found" (53), as on a disk.
  std::unique_ptr<toolkit::ReadableFile> openRead(const std::string& path) override;
  std::unique_ptr<toolkit::WritableFile> openWrite(const std::string& path) override;
  bool exists(const std::string& path) override { return files.count(path) != 0; }
  void remove(const std::string& path) override;
  void rename(const std::string& from, const std::string& to) override;
};

}  // namespace testing_support

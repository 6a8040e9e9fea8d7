#pragma once

// A real file system that can be told to fail: the next writes (a full disk), opens of paths that
// contain a given text, and so on. Tests use it to reach the error paths of the program.

#include <string>

#include "toolkit/core/file_system.h"
#include "toolkit/core/runtime_error.h"

namespace testing_support {

class FaultyFileSystem : public toolkit::FileSystem {
 public:
  // Writes (openWrite and writeAt) fail with this error while set.
  std::optional<toolkit::ErrorNumber> failWrites;
  // Opens for reading of paths containing this text fail with "File not found".
  std::string hideReadsContaining;

  std::unique_ptr<toolkit::ReadableFile> openRead(const std::string& path) override {
    if (!hideReadsContaining.empty() && path.find(hideReadsContaining) != std::string::npos) {
      throw toolkit::RuntimeError::of(toolkit::ErrorNumber::FileNotFound);
    }
    return m_real.openRead(path);
  }
  std::unique_ptr<toolkit::WritableFile> openWrite(const std::string& path) override {
    if (failWrites) throw toolkit::RuntimeError::of(*failWrites);
    return m_real.openWrite(path);
  }
  bool exists(const std::string& path) override { return m_real.exists(path); }
  void remove(const std::string& path) override { m_real.remove(path); }

 private:
  toolkit::PosixFileSystem m_real;
};

}  // namespace testing_support

#pragma once

// A real file system that can be told to fail: the next writes (a full disk), opens of paths that
// contain a given text, and so on. Tests use it to reach the error paths of the program.

#include <string>

#include "toolkit/core/file_system.h"
#include "toolkit/core/runtime_error.h"

namespace testing_support {

class FaultyFileSystem : public toolkit::FileSystem {
 public:
  // Opens for writing fail with this error while set.
  std::optional<toolkit::ErrorNumber> failWrites;
  // A disk with room for this many more bytes: a write past it fails with "Disk full".
  std::optional<std::int64_t> room;
  // Opens for reading of paths containing this text fail with "File not found".
  std::string hideReadsContaining;
  // Listings of folders whose path contains this text fail with "Permission denied".
  std::string lockFoldersContaining;

  std::unique_ptr<toolkit::ReadableFile> openRead(const std::string& path) override {
    if (!hideReadsContaining.empty() && path.find(hideReadsContaining) != std::string::npos) {
      throw toolkit::RuntimeError::of(toolkit::ErrorNumber::FileNotFound);
    }
    return m_real.openRead(path);
  }
  std::unique_ptr<toolkit::WritableFile> openWrite(const std::string& path) override {
    if (failWrites) throw toolkit::RuntimeError::of(*failWrites);
    return std::make_unique<File>(*this, m_real.openWrite(path));
  }
  std::unique_ptr<toolkit::WritableFile> createNew(const std::string& path) override {
    if (failWrites) throw toolkit::RuntimeError::of(*failWrites);
    return std::make_unique<File>(*this, m_real.createNew(path));
  }
  bool exists(const std::string& path) override { return m_real.exists(path); }
  toolkit::FileKind kind(const std::string& path) override { return m_real.kind(path); }
  std::vector<toolkit::FolderEntry> list(const std::string& folder) override {
    if (!lockFoldersContaining.empty() && folder.find(lockFoldersContaining) != std::string::npos) {
      throw toolkit::RuntimeError::of(toolkit::ErrorNumber::PermissionDenied);
    }
    return m_real.list(folder);
  }
  void remove(const std::string& path) override { m_real.remove(path); }
  void rename(const std::string& from, const std::string& to) override { m_real.rename(from, to); }
  toolkit::FileFacts facts(const std::string& path) override { return m_real.facts(path); }
  bool makeFolders(const std::string& path, std::error_code& error) override {
    return m_real.makeFolders(path, error);
  }
  bool link(const std::string& from, const std::string& to) override {
    return m_real.link(from, to);
  }
  bool sameFile(const std::string& a, const std::string& b) override {
    return m_real.sameFile(a, b);
  }

 private:
  class File : public toolkit::WritableFile {
   public:
    File(FaultyFileSystem& fs, std::unique_ptr<toolkit::WritableFile> real)
        : m_fs(fs), m_real(std::move(real)) {}
    void writeAt(std::int64_t offset, std::span<const std::uint8_t> data) override {
      if (m_fs.room) {
        if (static_cast<std::int64_t>(data.size()) > *m_fs.room) {
          throw toolkit::RuntimeError::of(toolkit::ErrorNumber::DiskFull);
        }
        *m_fs.room -= static_cast<std::int64_t>(data.size());
      }
      m_real->writeAt(offset, data);
    }
    void truncate(std::int64_t length) override { m_real->truncate(length); }
    void sync() override { m_real->sync(); }

   private:
    FaultyFileSystem& m_fs;
    std::unique_ptr<toolkit::WritableFile> m_real;
  };

  toolkit::PosixFileSystem m_real;
};

}  // namespace testing_support

#pragma once

// Files held in memory, so that the fuzzer runs the reader at full speed without touching disk.

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "toolkit/core/file_system.h"
#include "toolkit/core/runtime_error.h"

namespace fuzzing {

class MemoryFileSystem : public toolkit::FileSystem {
 public:
  std::map<std::string, std::vector<std::uint8_t>> files;

  std::unique_ptr<toolkit::ReadableFile> openRead(const std::string& path) override {
    auto it = files.find(path);
    if (it == files.end()) throw toolkit::RuntimeError::of(toolkit::ErrorNumber::FileNotFound);
    return std::make_unique<Reader>(it->second);
  }
  std::unique_ptr<toolkit::WritableFile> openWrite(const std::string& path) override {
    return std::make_unique<Writer>(files[path]);
  }
  bool exists(const std::string& path) override { return files.count(path) != 0; }
  void remove(const std::string& path) override { files.erase(path); }
  void rename(const std::string& from, const std::string& to) override {
    auto node = files.extract(from);
    if (node.empty()) throw toolkit::RuntimeError::of(toolkit::ErrorNumber::FileNotFound);
    node.key() = to;
    files.erase(to);
    files.insert(std::move(node));
  }

 private:
  class Reader : public toolkit::ReadableFile {
   public:
    explicit Reader(const std::vector<std::uint8_t>& bytes) : m_bytes(bytes) {}
    std::int64_t length() const override { return static_cast<std::int64_t>(m_bytes.size()); }
    std::size_t readAt(std::int64_t offset, std::span<std::uint8_t> out) override {
      if (offset < 0 || offset >= length()) return 0;
      const auto n =
          std::min<std::size_t>(out.size(), m_bytes.size() - static_cast<std::size_t>(offset));
      std::copy_n(m_bytes.begin() + offset, n, out.begin());
      return n;
    }

   private:
    const std::vector<std::uint8_t>& m_bytes;
  };
  class Writer : public toolkit::WritableFile {
   public:
    explicit Writer(std::vector<std::uint8_t>& bytes) : m_bytes(bytes) {}
    void writeAt(std::int64_t offset, std::span<const std::uint8_t> data) override {
      const auto end = static_cast<std::size_t>(offset) + data.size();
      if (m_bytes.size() < end) m_bytes.resize(end);
      std::copy(data.begin(), data.end(), m_bytes.begin() + offset);
    }
    void truncate(std::int64_t length) override {
      m_bytes.resize(static_cast<std::size_t>(length));
    }

   private:
    std::vector<std::uint8_t>& m_bytes;
  };
};

}  // namespace fuzzing

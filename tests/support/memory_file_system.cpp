#include "tests/support/memory_file_system.h"

#include <algorithm>

#include "toolkit/core/runtime_error.h"

namespace testing_support {
namespace {

using toolkit::ErrorNumber;
using toolkit::RuntimeError;

// The files may change while one is open, as on a disk: each call looks the bytes up anew.
class Reader : public toolkit::ReadableFile {
 public:
  Reader(MemoryFileSystem& fs, std::string path) : m_fs(fs), m_path(std::move(path)) {}
  std::int64_t length() const override { return static_cast<std::int64_t>(bytes().size()); }
  std::size_t readAt(std::int64_t offset, std::span<std::uint8_t> out) override {
    const std::vector<std::uint8_t>& b = bytes();
    if (offset < 0 || offset >= static_cast<std::int64_t>(b.size())) return 0;
    const auto n = std::min<std::size_t>(out.size(), b.size() - static_cast<std::size_t>(offset));
    std::copy_n(b.begin() + offset, n, out.begin());
    return n;
  }

 private:
  const std::vector<std::uint8_t>& bytes() const {
    static const std::vector<std::uint8_t> kGone;
    const auto it = m_fs.files.find(m_path);
    return it == m_fs.files.end() ? kGone : it->second;
  }
  MemoryFileSystem& m_fs;
  std::string m_path;
};

class Writer : public toolkit::WritableFile {
 public:
  Writer(MemoryFileSystem& fs, std::string path) : m_fs(fs), m_path(std::move(path)) {}
  void writeAt(std::int64_t offset, std::span<const std::uint8_t> data) override {
    std::vector<std::uint8_t>& b = m_fs.files[m_path];
    const auto end = static_cast<std::size_t>(offset) + data.size();
    if (b.size() < end) b.resize(end);
    std::copy(data.begin(), data.end(), b.begin() + offset);
  }
  void truncate(std::int64_t length) override {
    m_fs.files[m_path].resize(static_cast<std::size_t>(length));
  }

 private:
  MemoryFileSystem& m_fs;
  std::string m_path;
};

}  // namespace

std::unique_ptr<toolkit::ReadableFile> MemoryFileSystem::openRead(const std::string& path) {
  if (!exists(path)) throw RuntimeError::of(ErrorNumber::FileNotFound);
  return std::make_unique<Reader>(*this, path);
}

std::unique_ptr<toolkit::WritableFile> MemoryFileSystem::openWrite(const std::string& path) {
  if (failWrites) throw RuntimeError::of(*failWrites);
  files[path];  // created if it is not there, kept as it is if it is
  return std::make_unique<Writer>(*this, path);
}

void MemoryFileSystem::remove(const std::string& path) {
  if (files.erase(path) == 0) throw RuntimeError::of(ErrorNumber::FileNotFound);
}

void MemoryFileSystem::rename(const std::string& from, const std::string& to) {
  auto node = files.extract(from);
  if (node.empty()) throw RuntimeError::of(ErrorNumber::FileNotFound);
  node.key() = to;
  files.erase(to);
  files.insert(std::move(node));
}

}  // namespace testing_support

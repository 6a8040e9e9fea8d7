#include "toolkit/core/file_system.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "toolkit/core/runtime_error.h"

namespace toolkit {
namespace {

class Fd {
 public:
  explicit Fd(int fd) : m_fd(fd) {}
  Fd(const Fd&) = delete;
  Fd& operator=(const Fd&) = delete;
  ~Fd() {
    if (m_fd >= 0) ::close(m_fd);
  }
  int get() const { return m_fd; }

 private:
  int m_fd;
};

class PosixReadableFile : public ReadableFile {
 public:
  PosixReadableFile(int fd, std::int64_t length) : m_fd(fd), m_length(length) {}
  std::int64_t length() const override { return m_length; }
  std::size_t readAt(std::int64_t offset, std::span<std::uint8_t> out) override {
    std::size_t done = 0;
    while (done < out.size()) {
      ssize_t n = ::pread(m_fd.get(), out.data() + done, out.size() - done,
                          static_cast<off_t>(offset + static_cast<std::int64_t>(done)));
      if (n < 0) {
        if (errno == EINTR) continue;
        throwFileError(errno, false);
      }
      if (n == 0) break;
      done += static_cast<std::size_t>(n);
    }
    return done;
  }

 private:
  Fd m_fd;
  std::int64_t m_length;
};

class PosixWritableFile : public WritableFile {
 public:
  explicit PosixWritableFile(int fd) : m_fd(fd) {}
  void writeAt(std::int64_t offset, std::span<const std::uint8_t> data) override {
    std::size_t done = 0;
    while (done < data.size()) {
      ssize_t n = ::pwrite(m_fd.get(), data.data() + done, data.size() - done,
                           static_cast<off_t>(offset + static_cast<std::int64_t>(done)));
      if (n < 0) {
        if (errno == EINTR) continue;
        throwFileError(errno, true);
      }
      done += static_cast<std::size_t>(n);
    }
  }
  void truncate(std::int64_t length) override {
    if (::ftruncate(m_fd.get(), static_cast<off_t>(length)) != 0) throwFileError(errno, true);
  }
  void sync() override {
    if (::fsync(m_fd.get()) != 0) throwFileError(errno, true);
  }

 private:
  Fd m_fd;
};

}  // namespace

void throwFileError(int err, bool writing) {
  switch (err) {
    case ENOENT:
      throw RuntimeError::of(writing ? ErrorNumber::PathNotFound : ErrorNumber::FileNotFound);
    case ENOTDIR:
      throw RuntimeError::of(ErrorNumber::PathNotFound);
    case EACCES:
    case EPERM:
    case EROFS:
    case ETXTBSY:
      throw RuntimeError::of(ErrorNumber::PermissionDenied);
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      throw RuntimeError::of(ErrorNumber::DiskFull);
    case ENAMETOOLONG:
      throw RuntimeError::of(ErrorNumber::BadFileNameOrNumber);
    default:
      throw RuntimeError::of(ErrorNumber::PathFileAccessError);
  }
}

std::unique_ptr<ReadableFile> PosixFileSystem::openRead(const std::string& path) {
  if (path.empty()) throw RuntimeError::of(ErrorNumber::BadFileNameOrNumber);
  int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) throwFileError(errno, false);
  struct stat st {};
  if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
    int err = S_ISDIR(st.st_mode) ? EISDIR : errno;
    ::close(fd);
    throwFileError(err, false);
  }
  return std::make_unique<PosixReadableFile>(fd, static_cast<std::int64_t>(st.st_size));
}

std::unique_ptr<WritableFile> PosixFileSystem::openWrite(const std::string& path) {
  if (path.empty()) throw RuntimeError::of(ErrorNumber::BadFileNameOrNumber);
  int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
  if (fd < 0) throwFileError(errno, true);
  return std::make_unique<PosixWritableFile>(fd);
}

bool PosixFileSystem::exists(const std::string& path) {
  struct stat st {};
  return !path.empty() && ::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

void PosixFileSystem::remove(const std::string& path) {
  if (::unlink(path.c_str()) != 0) throwFileError(errno, true);
}

void PosixFileSystem::rename(const std::string& from, const std::string& to) {
  if (::rename(from.c_str(), to.c_str()) != 0) throwFileError(errno, true);
}

void writeWholeFile(FileSystem& fs, const std::string& path, std::span<const std::uint8_t> bytes) {
  auto file = fs.openWrite(path);
  file->writeAt(0, bytes);
  file->truncate(static_cast<std::int64_t>(bytes.size()));
}

void replaceFile(FileSystem& fs, const std::string& path,
                 const std::function<void(WritableFile&)>& write, bool durable) {
  const std::string temporary = path + ".part";
  try {
    {
      auto file = fs.openWrite(temporary);
      file->truncate(0);
      write(*file);
      if (durable) file->sync();
    }
    fs.rename(temporary, path);
  } catch (...) {
    try {
      if (fs.exists(temporary)) fs.remove(temporary);
    } catch (const RuntimeError&) {
      // Nothing more can be done about a temporary file that cannot be removed.
    }
    throw;
  }
}

void replaceFile(FileSystem& fs, const std::string& path, std::span<const std::uint8_t> bytes,
                 bool durable) {
  replaceFile(
      fs, path, [&](WritableFile& file) { file.writeAt(0, bytes); }, durable);
}

void discardFile(FileSystem& fs, const std::string& path) {
  try {
    if (fs.exists(path)) fs.remove(path);
    return;
  } catch (const RuntimeError&) {
  }
  try {
    fs.openWrite(path)->truncate(0);
  } catch (const RuntimeError&) {
  }
}

std::string readWholeFile(FileSystem& fs, const std::string& path) {
  auto file = fs.openRead(path);
  std::string bytes(static_cast<std::size_t>(file->length()), '\0');
  std::size_t n =
      file->readAt(0, std::span(reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size()));
  bytes.resize(n);
  return bytes;
}

}  // namespace toolkit

#include "toolkit/core/file_system.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <random>

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
    case ELOOP:
    case EISDIR:
    case ENXIO:
    case ENODEV:
      if (writing) throwNotRegularFile();
      throw RuntimeError::of(ErrorNumber::PathFileAccessError);
    case EEXIST:
      throwFileExists();
    default:
      throw RuntimeError::of(ErrorNumber::PathFileAccessError);
  }
}

void throwNotRegularFile() {
  throw RuntimeError(static_cast<int>(ErrorNumber::PathFileAccessError),
                     "Path/File access error (not a regular file)");
}

void throwFileExists() {
  throw RuntimeError(static_cast<int>(ErrorNumber::FileAlreadyExists), "File already exists");
}

namespace {

// Opens with `flags`, never waiting for a FIFO's other end, and keeps the descriptor only when it
// is a regular file. A read of something else gets the old toolkit's plain error, which the open
// dialog's boxes show; a write says why.
int openRegular(const std::string& path, int flags, bool writing) {
  if (path.empty()) throw RuntimeError::of(ErrorNumber::BadFileNameOrNumber);
  const int fd = ::open(path.c_str(), flags | O_NONBLOCK | O_CLOEXEC, 0644);
  if (fd < 0) throwFileError(errno, writing);
  struct stat st {};
  if (::fstat(fd, &st) != 0) {
    const int err = errno;
    ::close(fd);
    throwFileError(err, writing);
  }
  if (!S_ISREG(st.st_mode)) {
    ::close(fd);
    if (!writing) throw RuntimeError::of(ErrorNumber::PathFileAccessError);
    throwNotRegularFile();
  }
  ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK);
  return fd;
}

}  // namespace

std::unique_ptr<ReadableFile> PosixFileSystem::openRead(const std::string& path) {
  const int fd = openRegular(path, O_RDONLY, false);
  struct stat st {};
  ::fstat(fd, &st);
  return std::make_unique<PosixReadableFile>(fd, static_cast<std::int64_t>(st.st_size));
}

std::unique_ptr<WritableFile> PosixFileSystem::openWrite(const std::string& path) {
  return std::make_unique<PosixWritableFile>(
      openRegular(path, O_WRONLY | O_CREAT | O_NOFOLLOW, true));
}

std::unique_ptr<WritableFile> PosixFileSystem::createNew(const std::string& path) {
  return std::make_unique<PosixWritableFile>(
      openRegular(path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, true));
}

bool PosixFileSystem::exists(const std::string& path) {
  struct stat st {};
  return !path.empty() && ::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

FileKind PosixFileSystem::kind(const std::string& path) {
  struct stat st {};
  if (path.empty() || ::lstat(path.c_str(), &st) != 0) return FileKind::None;
  if (S_ISREG(st.st_mode)) return FileKind::Regular;
  if (S_ISDIR(st.st_mode)) return FileKind::Folder;
  if (S_ISLNK(st.st_mode)) return FileKind::Link;
  return FileKind::Other;
}

std::vector<FolderEntry> PosixFileSystem::list(const std::string& folder) {
  DIR* dir = ::opendir(folder.c_str());
  if (!dir) throwFileError(errno, false);
  std::vector<FolderEntry> entries;
  errno = 0;
  while (const dirent* entry = ::readdir(dir)) {
    const std::string name = entry->d_name;
    if (name == "." || name == "..") continue;
    entries.push_back({name, kind(folder + "/" + name)});
  }
  const int err = errno;
  ::closedir(dir);
  if (err != 0) throwFileError(err, false);
  return entries;
}

void PosixFileSystem::remove(const std::string& path) {
  if (::unlink(path.c_str()) != 0) throwFileError(errno, true);
}

void PosixFileSystem::rename(const std::string& from, const std::string& to) {
  if (::rename(from.c_str(), to.c_str()) != 0) throwFileError(errno, true);
}

FileFacts FileSystem::facts(const std::string& path) {
  if (!exists(path)) return {};
  return {FileKind::Regular, openRead(path)->length(), 0};
}

bool FileSystem::makeFolders(const std::string& path, std::error_code& error) {
  (void)path;
  error = std::make_error_code(std::errc::not_supported);
  return false;
}

bool FileSystem::link(const std::string& from, const std::string& to) {
  (void)from;
  (void)to;
  return false;
}

bool FileSystem::sameFile(const std::string& a, const std::string& b) {
  (void)a;
  (void)b;
  return false;
}

FileFacts PosixFileSystem::facts(const std::string& path) {
  struct stat st {};
  if (path.empty() || ::stat(path.c_str(), &st) != 0) return {};
  const FileKind kind = S_ISREG(st.st_mode)   ? FileKind::Regular
                        : S_ISDIR(st.st_mode) ? FileKind::Folder
                                              : FileKind::Other;
  return {kind, static_cast<std::int64_t>(st.st_size),
          static_cast<std::int64_t>(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec};
}

bool PosixFileSystem::makeFolders(const std::string& path, std::error_code& error) {
  error.clear();
  std::filesystem::create_directories(path, error);
  return !error && std::filesystem::is_directory(path);
}

bool PosixFileSystem::link(const std::string& from, const std::string& to) {
  return ::link(from.c_str(), to.c_str()) == 0;
}

bool PosixFileSystem::sameFile(const std::string& a, const std::string& b) {
  std::error_code ec;
  return std::filesystem::equivalent(a, b, ec);
}

void writeWholeFile(FileSystem& fs, const std::string& path, std::span<const std::uint8_t> bytes) {
  auto file = fs.openWrite(path);
  file->writeAt(0, bytes);
  file->truncate(static_cast<std::int64_t>(bytes.size()));
}

namespace {

// A new, empty file in the folder of `path` under a name nobody can know in advance; its name
// goes to `temporary`.
std::unique_ptr<WritableFile> createTemporaryBeside(FileSystem& fs, const std::string& path,
                                                    std::string& temporary) {
  const std::size_t slash = path.rfind('/');
  const std::string folder = slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
  std::random_device random;
  for (int attempt = 0;; ++attempt) {
    char name[48];
    std::snprintf(name, sizeof name, ".hg-%08x%08x.part", random(), random());
    temporary = folder + name;
    try {
      return fs.createNew(temporary);
    } catch (const RuntimeError& e) {
      if (e.number() != static_cast<int>(ErrorNumber::FileAlreadyExists) || attempt == 16) throw;
    }
  }
}

}  // namespace

void replaceFile(FileSystem& fs, const std::string& path,
                 const std::function<void(WritableFile&)>& write, bool durable) {
  const FileKind there = fs.kind(path);
  if (there != FileKind::None && there != FileKind::Regular && there != FileKind::Link) {
    throwNotRegularFile();
  }
  std::string temporary;
  std::unique_ptr<WritableFile> file = createTemporaryBeside(fs, path, temporary);
  try {
    write(*file);
    if (durable) file->sync();
    file.reset();
    fs.rename(temporary, path);
  } catch (...) {
    file.reset();
    try {
      if (fs.kind(temporary) == FileKind::Regular) fs.remove(temporary);
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

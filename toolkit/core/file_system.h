#pragma once

// The file operations of the program, behind an interface so that tests can make any of them
// fail (a full disk, a folder that cannot be written) the way LevelDB's test environment does.
// Failures are RuntimeErrors with the old toolkit's numbers.

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace toolkit {

class ReadableFile {
 public:
  virtual ~ReadableFile() = default;
  virtual std::int64_t length() const = 0;
  // Reads up to out.size() bytes at a 0-based offset; fewer at the end of the file. Bytes past the
  // end are left untouched, so a caller that zero-filled its buffer reads zeros there.
  virtual std::size_t readAt(std::int64_t offset, std::span<std::uint8_t> out) = 0;
};

class WritableFile {
 public:
  virtual ~WritableFile() = default;
  virtual void writeAt(std::int64_t offset, std::span<const std::uint8_t> data) = 0;
  // Cuts the file to its first `length` bytes.
  virtual void truncate(std::int64_t length) = 0;
  // Puts what was written on the disk before it returns (fsync), so that it survives a crash.
  virtual void sync() {}
};

class FileSystem {
 public:
  virtual ~FileSystem() = default;
  // Opens an existing file for reading; a missing file is "File not found" (53).
  virtual std::unique_ptr<ReadableFile> openRead(const std::string& path) = 0;
  // Opens for writing, creating the file if it is not there and keeping its bytes if it is.
  virtual std::unique_ptr<WritableFile> openWrite(const std::string& path) = 0;
  virtual bool exists(const std::string& path) = 0;  // a regular file at that path
  virtual void remove(const std::string& path) = 0;
  // Puts the file `from` in the place of `to`, replacing a file there in one step.
  virtual void rename(const std::string& from, const std::string& to) = 0;
};

class PosixFileSystem : public FileSystem {
 public:
  std::unique_ptr<ReadableFile> openRead(const std::string& path) override;
  std::unique_ptr<WritableFile> openWrite(const std::string& path) override;
  bool exists(const std::string& path) override;
  void remove(const std::string& path) override;
  void rename(const std::string& from, const std::string& to) override;
};

// Maps an errno value to the old toolkit's run-time error.
[[noreturn]] void throwFileError(int err, bool writing);

// Reads a whole file; throws like openRead.
std::string readWholeFile(FileSystem& fs, const std::string& path);

// Makes `bytes` the whole of the file at `path`, cutting any longer old tail; throws like
// openWrite and writeAt.
void writeWholeFile(FileSystem& fs, const std::string& path, std::span<const std::uint8_t> bytes);

// Makes sure no file with old content stands at `path`: removes it, or failing that, empties it.
// Never throws.
void discardFile(FileSystem& fs, const std::string& path);

// Lets `write` fill a temporary file beside `path` ("<path>.part") and puts it in the place of
// `path` only when `write` has returned; `durable` syncs it to the disk first. Whatever `write` or
// the file system throws is rethrown after the temporary file is removed; the file at `path` is
// then as it was.
void replaceFile(FileSystem& fs, const std::string& path,
                 const std::function<void(WritableFile&)>& write, bool durable = false);
// The same for a file that is to hold exactly `bytes`.
void replaceFile(FileSystem& fs, const std::string& path, std::span<const std::uint8_t> bytes,
                 bool durable = false);

// The bytes of a text, for writing it.
inline std::span<const std::uint8_t> bytesOf(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

}  // namespace toolkit

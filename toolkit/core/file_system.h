#pragma once

// The file operations of the program, behind an interface so that tests can make any of them
// fail (a full disk, a folder that cannot be written) the way LevelDB's test environment does.
// Failures are RuntimeErrors with the old toolkit's numbers.

#include <cerrno>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace toolkit {

// Maps an errno value to the old toolkit's run-time error.
[[noreturn]] void throwFileError(int err, bool writing);
// The errors of a path that holds something other than a regular file, and of one that is taken.
[[noreturn]] void throwNotRegularFile();
[[noreturn]] void throwFileExists();

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

// What stands at a path, without following a link there.
enum class FileKind { None, Regular, Folder, Link, Other };

// What a path names, a link there followed: what the scan needs to tell a clip from its later self.
struct FileFacts {
  FileKind kind = FileKind::None;  // Regular, Folder, Other or None; never Link
  std::int64_t size = -1;          // -1: nothing there
  std::int64_t mtimeNs = 0;        // the modification time, in nanoseconds since 1970
};

struct FolderEntry {
  std::string name;  // without the folder
  FileKind kind;     // of the entry itself: a link is a Link, whatever it points at
};

class FileSystem {
 public:
  virtual ~FileSystem() = default;
  // Opens an existing file for reading; a missing file is "File not found" (53).
  virtual std::unique_ptr<ReadableFile> openRead(const std::string& path) = 0;
  // Opens for writing, creating the file if it is not there and keeping its bytes if it is. A
  // link at `path` is never followed, and what is there must be a regular file: a link, a folder,
  // a device or a FIFO is refused, so that nobody can plant one to have it written through.
  virtual std::unique_ptr<WritableFile> openWrite(const std::string& path) = 0;
  // Creates a file that is not there yet; anything at `path`, a link included, is refused.
  virtual std::unique_ptr<WritableFile> createNew(const std::string& path) {
    if (kind(path) != FileKind::None) throwFileExists();
    return openWrite(path);
  }
  virtual bool exists(const std::string& path) = 0;  // a regular file at that path
  virtual FileKind kind(const std::string& path) {
    return exists(path) ? FileKind::Regular : FileKind::None;
  }
  // The entries of a folder, in no particular order, "." and ".." left out; a folder that cannot
  // be read throws its error. The default has no folders.
  virtual std::vector<FolderEntry> list(const std::string& folder) {
    (void)folder;
    throwFileError(ENOTDIR, false);
  }
  virtual void remove(const std::string& path) = 0;
  // Puts the file `from` in the place of `to`, replacing a file there in one step.
  virtual void rename(const std::string& from, const std::string& to) = 0;
  // What `path` names, a link followed. The default knows regular files only, all of time 0.
  virtual FileFacts facts(const std::string& path);
  // Makes the folder and those above it that are missing. True when the folder is there; else
  // false with the reason in `error`. The default has no folders.
  virtual bool makeFolders(const std::string& path, std::error_code& error);
  // Gives the file `from` a second name `to` (a hard link). False where that cannot be (another
  // disk, a name taken, no links at all): the caller copies instead. The default has no links.
  virtual bool link(const std::string& from, const std::string& to);
  // Whether two paths name one file. The default: never.
  virtual bool sameFile(const std::string& a, const std::string& b);
};

// Reads never block on a FIFO or a device: opening one is refused at once.
class PosixFileSystem : public FileSystem {
 public:
  std::unique_ptr<ReadableFile> openRead(const std::string& path) override;
  std::unique_ptr<WritableFile> openWrite(const std::string& path) override;
  std::unique_ptr<WritableFile> createNew(const std::string& path) override;
  bool exists(const std::string& path) override;
  FileKind kind(const std::string& path) override;
  std::vector<FolderEntry> list(const std::string& folder) override;
  void remove(const std::string& path) override;
  void rename(const std::string& from, const std::string& to) override;
  FileFacts facts(const std::string& path) override;
  bool makeFolders(const std::string& path, std::error_code& error) override;
  bool link(const std::string& from, const std::string& to) override;
  bool sameFile(const std::string& a, const std::string& b) override;
};

// Reads a whole file; throws like openRead.
std::string readWholeFile(FileSystem& fs, const std::string& path);

// Makes `bytes` the whole of the file at `path`, cutting any longer old tail; throws like
// openWrite and writeAt.
void writeWholeFile(FileSystem& fs, const std::string& path, std::span<const std::uint8_t> bytes);

// Makes sure no file with old content stands at `path`: removes it, or failing that, empties it.
// Never throws.
void discardFile(FileSystem& fs, const std::string& path);

// Lets `write` fill a temporary file beside `path` and puts it in the place of `path` only when
// `write` has returned; `durable` syncs it to the disk first. The temporary file is created new in
// the same folder under a name nobody can guess in advance (".hg-<random>.part"), so a link
// planted there cannot redirect the bytes, and the name stays short whatever the length of
// `path`'s. A folder, device or FIFO at `path` is refused; a link there is replaced, never
// followed. Whatever `write` or the file system throws is rethrown after the temporary file is
// removed; the file at `path` is then as it was.
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

#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace testing_support {

// A fresh folder under the system's temp folder, removed with everything in it at destruction.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::string& path() const { return m_path; }
  std::string file(const std::string& name) const { return m_path + "/" + name; }

 private:
  std::string m_path;
};

std::vector<std::uint8_t> readBytes(const std::string& path);
// A file's bytes as text, and a text's lines without their breaks.
std::string text(const std::string& path);
std::vector<std::string> lines(const std::string& text);

// What an hgvtool command run in the test's process returned and printed.
struct ToolRun {
  int status;
  std::string out, err;
};
void writeBytes(const std::string& path, const std::vector<std::uint8_t>& bytes);
// The names of the temporary files (".part") a write left in `folder`; none after any write.
std::vector<std::string> temporariesIn(const std::string& folder);

}  // namespace testing_support

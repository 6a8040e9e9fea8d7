#include "app/hgvtool_support.h"

#include <ostream>

#include "toolkit/core/file_system.h"
#include "toolkit/core/runtime_error.h"

namespace app {

bool writeFileAtomically(const std::string& path, const std::vector<std::uint8_t>& bytes,
                         std::ostream& err) {
  toolkit::PosixFileSystem files;
  try {
    toolkit::replaceFile(files, path, bytes);
  } catch (const toolkit::RuntimeError& e) {
    err << "hgvtool: cannot write " << path << ": " << e.description() << "\n";
    return false;
  }
  return true;
}

bool parseArea(const std::string& text, toolkit::Rect& area) {
  long long v[4];
  std::size_t start = 0;
  for (int i = 0; i < 4; ++i) {
    const std::size_t comma = text.find(',', start);
    if ((comma == std::string::npos) != (i == 3)) return false;
    const std::string part = text.substr(start, comma == std::string::npos ? comma : comma - start);
    if (!parseInt(part, v[i]) || v[i] < INT32_MIN || v[i] > INT32_MAX) return false;
    start = comma + 1;
  }
  area = {static_cast<std::int32_t>(v[0]), static_cast<std::int32_t>(v[1]),
          static_cast<std::int32_t>(v[2]), static_cast<std::int32_t>(v[3])};
  return true;
}

}  // namespace app

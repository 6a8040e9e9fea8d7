#include <ostream>

#include "app/hgvtool_commands.h"

namespace app {

int runDiff(const Args&, std::ostream&, std::ostream& err) {
  err << "hgvtool: diff is not built into this copy\n";
  return 2;
}

}  // namespace app

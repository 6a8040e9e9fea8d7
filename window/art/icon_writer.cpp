// icon_writer FOLDER SIZE...: the window's icon as FOLDER/SIZE.png for each size, for the icon
// theme of an installed program.

#include <QImage>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "window/art/skin_art.h"

int main(int argc, char* argv[]) {
  if (argc < 3) {
    std::fputs("usage: icon_writer FOLDER SIZE...\n", stderr);
    return 2;
  }
  for (int i = 2; i < argc; ++i) {
    const int size = std::atoi(argv[i]);
    const std::string path = std::string(argv[1]) + "/" + argv[i] + ".png";
    if (size <= 0 || size > 1024 || !window::paintIcon(size).save(QString::fromStdString(path))) {
      std::fprintf(stderr, "icon_writer: cannot write %s\n", path.c_str());
      return 1;
    }
  }
  return 0;
}

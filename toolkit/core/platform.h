#pragma once

#include <string>

#include "toolkit/core/file_system.h"
#include "toolkit/core/message_box.h"

namespace toolkit {

// What the logic needs of the machine: file access, a place to show message boxes, and the
// program's own folder (without a closing separator). Tests build one over a temp folder and a
// recording sink; nothing of it is process-wide.
struct Platform {
  FileSystem& files;
  MessageSink& messages;
  std::string programFolder;
};

}  // namespace toolkit

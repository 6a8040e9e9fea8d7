#pragma once

#include <string>

namespace toolkit {

// The program's own folder, without a closing separator: the folder of the executable when it can
// be written and is not an installed program's `bin` folder, else a per-user folder of the
// program ($XDG_DATA_HOME/harrowglen or ~/.local/share/harrowglen), created if needed. Scratch
// files live there.
std::string programFolderFor(const std::string& executable);
// The program folder of this running executable.
std::string defaultProgramFolder();

// Joins the program folder and a file name the way the program appends "\Temp.jpg" and friends.
inline std::string inFolder(const std::string& folder, const std::string& name) {
  return folder + "/" + name;
}

// The folder part of a path up to and including its last separator; "" if there is none.
std::string folderWithSeparator(const std::string& path);

}  // namespace toolkit

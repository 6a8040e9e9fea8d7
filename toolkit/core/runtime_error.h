#pragma once

// Run-time errors carry the number and description the old forms toolkit gave them, so that the
// program's error boxes ("Error:6" / "Overflow") read as users of the original know them.

#include <stdexcept>
#include <string>
#include <string_view>

namespace toolkit {

enum class ErrorNumber : int {
  Overflow = 6,
  SubscriptOutOfRange = 9,
  DivisionByZero = 11,
  BadFileNameOrNumber = 52,
  FileNotFound = 53,
  FileAlreadyExists = 58,
  DiskFull = 61,
  InputPastEndOfFile = 62,
  PermissionDenied = 70,
  PathFileAccessError = 75,
  PathNotFound = 76,
  InvalidPicture = 481,
};

std::string_view errorDescription(ErrorNumber number);

class RuntimeError : public std::runtime_error {
 public:
  RuntimeError(int number, std::string description);
  static RuntimeError of(ErrorNumber number);

  int number() const { return m_number; }
  const std::string& description() const { return m_description; }

 private:
  int m_number;
  std::string m_description;
};

// The three-line text of an error handler's box: the name line, "Error:" with the number right
// behind it, the description, separated by CR LF.
std::string errorBoxText(std::string_view nameLine, const RuntimeError& error);

}  // namespace toolkit

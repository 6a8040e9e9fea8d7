#include "toolkit/core/runtime_error.h"

namespace toolkit {

std::string_view errorDescription(ErrorNumber number) {
  switch (number) {
    case ErrorNumber::Overflow:
      return "Overflow";
    case ErrorNumber::SubscriptOutOfRange:
      return "Subscript out of range";
    case ErrorNumber::DivisionByZero:
      return "Division by zero";
    case ErrorNumber::BadFileNameOrNumber:
      return "Bad file name or number";
    case ErrorNumber::FileNotFound:
      return "File not found";
    case ErrorNumber::FileAlreadyExists:
      return "File already exists";
    case ErrorNumber::DiskFull:
      return "Disk full";
    case ErrorNumber::InputPastEndOfFile:
      return "Input past end of file";
    case ErrorNumber::PermissionDenied:
      return "Permission denied";
    case ErrorNumber::PathFileAccessError:
      return "Path/File access error";
    case ErrorNumber::PathNotFound:
      return "Path not found";
    case ErrorNumber::InvalidPicture:
      return "Invalid picture";
  }
  return "Application-defined or object-defined error";
}

RuntimeError::RuntimeError(int number, std::string description)
    : std::runtime_error(description), m_number(number), m_description(std::move(description)) {}

RuntimeError RuntimeError::of(ErrorNumber number) {
  return RuntimeError(static_cast<int>(number), std::string(errorDescription(number)));
}

std::string errorBoxText(std::string_view nameLine, const RuntimeError& error) {
  std::string text(nameLine);
  text += "\r\nError:";
  text += std::to_string(error.number());
  text += "\r\n";
  text += error.description();
  return text;
}

}  // namespace toolkit

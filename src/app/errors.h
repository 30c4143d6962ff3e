// Run-time failures as the conversion reports them: an error number in the old platform's
// numbering (so that a full disk still brings up the Abort/Retry/Ignore box) and a description.
// Library errors (qorvane::Error) and system errors are translated here, in one place.
#pragma once

#include <exception>
#include <stdexcept>
#include <string>

namespace qorvane::app {

namespace error_number {
inline constexpr int kInvalidProcedureCall = 5;
inline constexpr int kOutOfMemory = 7;
inline constexpr int kDivisionByZero = 11;
inline constexpr int kFileNotFound = 53;
inline constexpr int kDeviceIoError = 57;       // box
inline constexpr int kDiskFull = 61;            // box
inline constexpr int kDeviceUnavailable = 68;   // box
inline constexpr int kPermissionDenied = 70;    // also a file locked by another program
inline constexpr int kDiskNotReady = 71;        // box
inline constexpr int kPathFileAccessError = 75;
inline constexpr int kPathNotFound = 76;
inline constexpr int kDuplicateKey = 3022;
inline constexpr int kCouldNotUpdateLocked = 3218;  // ends the program (databases may be corrupt)
inline constexpr int kUnrecognizedFormat = 3343;
}  // namespace error_number

// A failure with an explicit error number, thrown by the conversion's own routines.
class RunTimeError : public std::runtime_error {
 public:
  RunTimeError(int number, const std::string& description)
      : std::runtime_error(description), number_(number) {}
  int number() const { return number_; }

 private:
  int number_;
};

// Thrown to end the program at once; no routine boundary catches it.
class ProgramEnd : public std::exception {
 public:
  explicit ProgramEnd(int exit_status) : exit_status_(exit_status) {}
  int exit_status() const { return exit_status_; }
  const char* what() const noexcept override { return "the program ends"; }

 private:
  int exit_status_;
};

struct ErrorInfo {
  int number = 0;
  std::string description;
  // Every later record would fail the same way (office.mdb at its largest size): the run stops.
  bool ends_run = false;
};

// The error number and description of a caught exception (RunTimeError, qorvane::Error,
// std::bad_alloc, anything else).
ErrorInfo DescribeException(const std::exception_ptr& failure);
// The old platform's description of an error number ("Disk full", "File not found", ...).
std::string DescribeErrorNumber(int number);

}  // namespace qorvane::app

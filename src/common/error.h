// The one error type of the libraries: a kind (what sort of failure) and a message that says
// what went wrong and where (file, table, record, field, byte offset). The engines throw it;
// the conversion turns it into the run-time error numbers its reporter knows.
#pragma once

#include <stdexcept>
#include <string>

namespace qorvane {

enum class ErrorKind {
  NotFound,          // a file or directory that is not there
  PermissionDenied,  // the operating system refused access
  DiskFull,          // no space left on the device (or quota)
  Locked,            // the file is in use by another program
  IoError,           // any other failure of the operating system
  Corrupt,           // the bytes do not follow the file format
  NotSupported,      // a valid file of a kind or version we do not handle
  InvalidArgument,   // a caller asked for something that does not exist or cannot be
  Constraint,        // a write would break a rule of the data (unique key, size)
};

const char* ErrorKindName(ErrorKind kind);

class Error : public std::runtime_error {
 public:
  Error(ErrorKind kind, const std::string& message) : std::runtime_error(message), kind_(kind) {}
  ErrorKind kind() const { return kind_; }

 private:
  ErrorKind kind_;
};

// A refusal that every later attempt would meet as well (a database at the largest size it may
// have): whoever loops over many records stops at the first one instead of refusing them all.
class LimitReached : public Error {
 public:
  using Error::Error;
};

// Builds an Error from an errno value: the kind follows errno, the message is
// "<what>: <path>: <strerror>".
Error ErrorFromErrno(int error_number, const std::string& what, const std::string& path);

}  // namespace qorvane

// Error kinds and the mapping of operating-system failures onto them.
#include "common/error.h"

#include <cerrno>
#include <cstring>

namespace qorvane {

const char* ErrorKindName(ErrorKind kind) {
  switch (kind) {
    case ErrorKind::NotFound: return "not found";
    case ErrorKind::PermissionDenied: return "permission denied";
    case ErrorKind::DiskFull: return "disk full";
    case ErrorKind::Locked: return "locked";
    case ErrorKind::IoError: return "I/O error";
    case ErrorKind::Corrupt: return "corrupt";
    case ErrorKind::NotSupported: return "not supported";
    case ErrorKind::InvalidArgument: return "invalid argument";
    case ErrorKind::Constraint: return "constraint";
  }
  return "error";
}

Error ErrorFromErrno(int error_number, const std::string& what, const std::string& path) {
  ErrorKind kind = ErrorKind::IoError;
  switch (error_number) {
    case ENOENT:
    case ENOTDIR: kind = ErrorKind::NotFound; break;
    case EACCES:
    case EPERM:
    case EROFS: kind = ErrorKind::PermissionDenied; break;
    case ENOSPC:
    case EDQUOT:
    case EFBIG: kind = ErrorKind::DiskFull; break;
    case EAGAIN:
    case EBUSY:
    case ETXTBSY: kind = ErrorKind::Locked; break;
    default: break;
  }
  std::string message = what;
  if (!path.empty()) message += ": " + path;
  message += ": ";
  message += std::strerror(error_number);
  return Error(kind, message);
}

}  // namespace qorvane

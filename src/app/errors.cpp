// Translation of failures into error numbers and descriptions (see errors.h).
#include "app/errors.h"

#include <new>

#include "common/error.h"

namespace qorvane::app {

std::string DescribeErrorNumber(int number) {
  switch (number) {
    case error_number::kInvalidProcedureCall: return "Invalid procedure call or argument";
    case error_number::kOutOfMemory: return "Out of memory";
    case error_number::kDivisionByZero: return "Division by zero";
    case error_number::kFileNotFound: return "File not found";
    case error_number::kDeviceIoError: return "Device I/O error";
    case error_number::kDiskFull: return "Disk full";
    case error_number::kDeviceUnavailable: return "Device unavailable";
    case error_number::kPermissionDenied: return "Permission denied";
    case error_number::kDiskNotReady: return "Disk not ready";
    case error_number::kPathFileAccessError: return "Path/File access error";
    case error_number::kPathNotFound: return "Path not found";
    case error_number::kDuplicateKey: return "Duplicate value in a unique index";
    case error_number::kCouldNotUpdateLocked: return "Could not update; currently locked";
    case error_number::kUnrecognizedFormat: return "Unrecognized database format";
  }
  return "Application-defined or object-defined error";
}

namespace {

int NumberForKind(ErrorKind kind) {
  switch (kind) {
    case ErrorKind::NotFound: return error_number::kFileNotFound;
    case ErrorKind::PermissionDenied: return error_number::kPermissionDenied;
    case ErrorKind::DiskFull: return error_number::kDiskFull;
    case ErrorKind::Locked: return error_number::kPermissionDenied;
    case ErrorKind::IoError: return error_number::kDeviceIoError;
    case ErrorKind::Corrupt:
    case ErrorKind::NotSupported: return error_number::kUnrecognizedFormat;
    case ErrorKind::InvalidArgument: return error_number::kInvalidProcedureCall;
    case ErrorKind::Constraint: return error_number::kDuplicateKey;
  }
  return error_number::kInvalidProcedureCall;
}

}  // namespace

ErrorInfo DescribeException(const std::exception_ptr& failure) {
  try {
    std::rethrow_exception(failure);
  } catch (const RunTimeError& error) {
    return {error.number(), error.what()};
  } catch (const LimitReached& error) {
    return {NumberForKind(error.kind()), error.what(), true};
  } catch (const Error& error) {
    return {NumberForKind(error.kind()), error.what()};
  } catch (const std::bad_alloc&) {
    return {error_number::kOutOfMemory, DescribeErrorNumber(error_number::kOutOfMemory)};
  } catch (const std::exception& error) {
    return {error_number::kInvalidProcedureCall, error.what()};
  } catch (...) {
    return {error_number::kInvalidProcedureCall, "unknown failure"};
  }
}

}  // namespace qorvane::app

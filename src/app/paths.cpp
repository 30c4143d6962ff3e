// Path and file helpers (see paths.h).
#include "app/paths.h"

#include "common/os.h"

namespace qorvane::app {

std::string Trim(const std::string& text) {
  const char* blanks = " \t";
  std::size_t first = text.find_first_not_of(blanks);
  if (first == std::string::npos) return "";
  std::size_t last = text.find_last_not_of(blanks);
  return text.substr(first, last - first + 1);
}

std::string CkRSlash(std::string& path) {
  std::string trimmed = Trim(path);
  if (trimmed.empty()) return "";
  if (trimmed.back() != kPathSeparator) path = trimmed + kPathSeparator;
  return trimmed;
}

void RemoveRSlash(std::string& path) {
  path = Trim(path);
  if (!path.empty() && path.back() == kPathSeparator) path.pop_back();
}

std::string StripRChar(std::string& path) {
  RemoveRSlash(path);
  return path;
}

ParsedFileName ParseFileName(const std::string& full_name) {
  ParsedFileName parts;
  std::size_t slash = full_name.rfind(kPathSeparator);
  if (slash == std::string::npos) {
    parts.file_name = full_name;
  } else {
    parts.directory = full_name.substr(0, slash + 1);
    parts.file_name = full_name.substr(slash + 1);
  }
  std::size_t dot = parts.file_name.rfind('.');
  if (dot == std::string::npos || dot == 0) {
    parts.base_name = parts.file_name;
  } else {
    parts.base_name = parts.file_name.substr(0, dot);
    parts.extension = parts.file_name.substr(dot + 1);
  }
  return parts;
}

std::string ResolveInDirectory(const std::string& dir, const std::string& name) {
  if (auto found = os::FindCaseInsensitive(dir, name)) return *found;
  return os::JoinPath(dir, name);
}

bool FileExists(const std::string& full_name) {
  if (Trim(full_name).empty()) return false;
  ParsedFileName parts = ParseFileName(full_name);
  if (parts.file_name.empty()) return false;
  std::string dir = parts.directory.empty() ? "." : parts.directory;
  auto size = os::FileSize(ResolveInDirectory(dir, parts.file_name));
  return size.has_value() && *size >= 1;
}

bool FilePathExists(const std::string& full_name) {
  ParsedFileName parts = ParseFileName(full_name);
  if (parts.directory.empty() || parts.file_name.empty()) return false;
  return FileExists(full_name);
}

}  // namespace qorvane::app

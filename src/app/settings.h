// The settings files and how they are found: the settings directory (where the Windows program
// looked in the Windows directory), FOXCON.INI (the converter's last paths and check-box
// choices), zul.ini (the new program's data directory and program names) and VL.ini (the old
// program's data directory). Files are INI text; names of files, sections and keys are matched
// without regard to case, as the Windows profile functions did.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace qorvane::app {

// Reads KEY of SECTION from an INI file; DEFAULT when the file, section or key is missing.
// The value is trimmed and one pair of surrounding double quotes is removed.
std::string ReadProfileString(const std::string& path, const std::string& section,
                              const std::string& key, const std::string& default_value);
// Writes KEY=VALUE into SECTION, replacing the key's line or adding the section or key; the
// rest of the file stays as it was. The file is replaced atomically.
void WriteProfileString(const std::string& path, const std::string& section,
                        const std::string& key, const std::string& value);

struct ProfileEntry {
  std::string section;
  std::string key;
  std::string value;
};
// Writes several keys into one INI file with one read and one replacement of the file.
void WriteProfileStrings(const std::string& path, const std::vector<ProfileEntry>& entries);

// A settings tag: directory token, file name, [section], key, "|", default, as in
// "<WINDIR>ZUL.INI[PROGRAM ALIAS]Brisalo Office Plus|Brisalo Office/Fennick Plus".
struct SettingTag {
  std::string directory_token;  // "<WINDIR>" (the settings directory) or "<APPDIR>"
  std::string file_name;
  std::string section;
  std::string key;
  std::string default_value;
  static std::optional<SettingTag> Parse(const std::string& tag);
};

inline constexpr const char* kConverterSettingsFile = "FOXCON.INI";
inline constexpr const char* kTargetSettingsFile = "zul.ini";
inline constexpr const char* kSourceSettingsFile = "VL.ini";

// The tags TagRead reads, one per setting of the form.
namespace tags {
inline constexpr const char* kTargetProgram =
    "<WINDIR>ZUL.INI[PROGRAM ALIAS]Brisalo Office Plus|Brisalo Office/Fennick Plus";
inline constexpr const char* kSourceProgram = "<WINDIR>ZUL.INI[PROGRAM ALIAS]PYX|PYX";
inline constexpr const char* kLastSourcePath = "<WINDIR>FOXCON.INI[PATHS]PyxPath|";
inline constexpr const char* kLastTargetPath = "<WINDIR>FOXCON.INI[PATHS]ZulPath|";
inline constexpr const char* kSourceDataDir = "<WINDIR>VL.INI[DIRECTORIES]DATADIR|";
inline constexpr const char* kTargetDataDir = "<WINDIR>ZUL.INI[DIRECTORIES]DATADIR|";
inline constexpr const char* kTargetDataFile = "<WINDIR>ZUL.INI[DIRECTORIES]DATAFILE|office.mdb";
}  // namespace tags

// The section of FOXCON.INI that keeps the check-box choices, one key per check box.
inline constexpr const char* kOptionsSection = "OPTIONS";
inline constexpr const char* kPathsSection = "PATHS";

class Settings {
 public:
  // FormInit: the settings directory is --settings, else $QORVANE_SETTINGS_DIR, else
  // $XDG_CONFIG_HOME/qorvane, else ~/.config/qorvane. It ends in '/'.
  static Settings FormInit(const std::optional<std::string>& settings_option);
  explicit Settings(std::string directory, std::string install_directory = "");

  const std::string& directory() const { return directory_; }
  // Full names of the two settings files (as spelled on disk when they exist).
  std::string ConverterFile() const;
  std::string TargetProgramFile() const;

  // The value a tag names; the default when it cannot be read.
  std::string Read(const std::string& tag) const;
  // Writes the value a tag names (into the file the tag names).
  void Write(const std::string& tag, const std::string& value) const;
  // Writes several tagged values, each settings file rewritten once.
  void WriteMany(const std::vector<std::pair<std::string, std::string>>& tagged_values) const;

 private:
  std::string FileOf(const SettingTag& tag) const;
  std::string directory_;
  std::string install_directory_;
};

// Makes FOLDER and any folder above it that is missing (the settings folder of a fresh account).
void MakeFolders(const std::string& folder);

// The folder of the running program (where OpenConfig looks for INSTALL.TXT).
std::string InstallDirectory();

}  // namespace qorvane::app

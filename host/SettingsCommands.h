// The commands that show and edit the settings which the host shares with the extension. What a command has written is stored, and visible
// to every process, when it returns.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/FileManager.h"
#include "platform/UserDefaults.h"
#include "platform/linux/programs/Program.h"
#include "platform/linux/settings/SettingsWriter.h"

class SettingsCommands {
 public:
  using Words = platform::native::Program::Words;

  SettingsCommands(const platform::UserDefaults& settings, platform::native::SettingsWriter& writer, platform::FileManager& files,
                   const platform::native::Program& program)
      : settings_(settings), writer_(writer), files_(files), program_(program) {}

  /// Runs one command: its name and what follows it. A command that is none, or has wrong words, says so and changes nothing. The
  /// exit status.
  int run(const Words& words);

 private:
  struct Folder {
    platform::Object bookmark;         ///< As it is stored.
    std::optional<platform::URL> url;  ///< The folder that it leads to.
    std::string lastPath;              ///< Where that stood when the bookmark was made; empty when that is not known.
  };

  int folders(const Words& words);
  int listFolders();
  int addFolders(const Words& paths);
  int removeFolders(const Words& paths);
  std::vector<Folder> storedFolders();
  Folder folderOfBookmark(const platform::Object& bookmark);
  bool isStored(const std::vector<Folder>& folders, const platform::URL& folder);
  int storeFolders(const std::vector<Folder>& folders);

  int items(const Words& words);
  int icons(const Words& words);
  int printAll(const Words& words);

  int store(const platform::Object& value, std::string_view key);

  const platform::UserDefaults& settings_;
  platform::native::SettingsWriter& writer_;
  platform::FileManager& files_;
  const platform::native::Program& program_;
};

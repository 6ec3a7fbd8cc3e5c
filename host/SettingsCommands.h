// The commands that show and edit the settings which the host shares with the extension. What a command has written is stored, and visible
// to every process, when it returns.
#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "platform/FileManager.h"
#include "platform/UserDefaults.h"
#include "platform/linux/settings/SettingsWriter.h"

class SettingsCommands {
 public:
  enum ExitStatus : int { done = 0, failed = 1, misused = 2 };
  using Words = std::vector<std::string>;

  SettingsCommands(const platform::UserDefaults& settings, platform::native::SettingsWriter& writer, platform::FileManager& files,
                   std::ostream& out, std::ostream& errors)
      : settings_(settings), writer_(writer), files_(files), out_(out), errors_(errors) {}

  /// Runs one command: its name and what follows it. A command that is none, or has wrong words, says so and changes nothing.
  ExitStatus run(const Words& words);

 private:
  /// A stored bookmark and the folder that it leads to.
  struct Folder {
    platform::Object bookmark;
    std::optional<platform::URL> url;
  };

  ExitStatus folders(const Words& words);
  ExitStatus listFolders();
  ExitStatus addFolders(const Words& paths);
  ExitStatus removeFolders(const Words& paths);
  std::vector<Folder> storedFolders();
  bool isStored(const std::vector<Folder>& folders, const platform::URL& folder);
  ExitStatus storeFolders(const std::vector<Folder>& folders);

  ExitStatus items(const Words& words);
  ExitStatus icons(const Words& words);
  ExitStatus printAll(const Words& words);

  ExitStatus store(const platform::Object& value, std::string_view key);
  ExitStatus fail(const std::string& sentence);
  ExitStatus misuse(const std::string& sentence);

  const platform::UserDefaults& settings_;
  platform::native::SettingsWriter& writer_;
  platform::FileManager& files_;
  std::ostream& out_;
  std::ostream& errors_;
};

// The console's command line.
#pragma once

#include <optional>
#include <string>

struct ConsoleOptions {
  bool isJSON = false;
  std::optional<std::string> entitlementsFile;
  std::optional<std::string> bundleVersion;
  std::optional<std::string> imagesFolder;  ///< Set when all images are to be drawn into it, and nothing else is to be done.

  bool isDiagnosisWanted = false;  ///< Only to be told why a menu may be missing.

  std::optional<int> status;  ///< Set when the program is to end at once, with this exit status, after it has written `text`.
  std::string text;
};

/// 0 for a request for help, 2 for a command line that is not understood.
ConsoleOptions consoleOptions(int count, char** arguments);

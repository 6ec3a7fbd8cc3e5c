#include "host/CommandLine.h"

#include <algorithm>

#include "platform/BuildSettings.h"

namespace settings = platform::BuildSettings;

namespace {

std::string* textOption(CommandLine& line, std::string_view option) {
  if (option == "--group") return &line.group;
  if (option == "--identifier") return &line.identifier;
  if (option == "--version") return &line.version;
  return nullptr;
}

bool takeFlag(CommandLine& line, std::string_view option) {
  if (option == "--no-answer")
    line.answersRequests = false;
  else if (option == "--quiet")
    line.isQuiet = true;
  else if (option == "--help" || option == "-h")
    line.isHelpWanted = true;
  else
    return false;
  return true;
}

}  // namespace

std::optional<CommandLine> CommandLine::parse(const std::vector<std::string>& arguments, std::string& fault) {
  CommandLine line;
  line.group = settings::applicationGroup;
  line.identifier = settings::hostBundleIdentifier;
  line.version = settings::bundleVersion;
  const auto end = std::find(arguments.begin(), arguments.end(), "--");
  for (auto argument = arguments.begin(); argument != end; ++argument) {
    if (!argument->starts_with('-')) {
      line.words.push_back(*argument);
    } else if (std::string* text = textOption(line, *argument)) {
      if (argument + 1 == end) return fault = "The option " + *argument + " lacks its value.", std::nullopt;
      *text = *++argument;
    } else if (!takeFlag(line, *argument)) {
      return fault = "There is no option " + *argument + ".", std::nullopt;
    }
  }
  if (end != arguments.end()) line.words.insert(line.words.end(), end + 1, arguments.end());
  return line;
}

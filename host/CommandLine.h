// What the user asks of `dovetail-host`.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct CommandLine {
  std::string group;
  std::string identifier;
  std::string version;
  bool answersRequests = true;
  bool isQuiet = false;
  bool isHelpWanted = false;
  std::vector<std::string> words;  ///< The command and what follows it; empty for the command "run".

  static constexpr std::string_view help =
      "dovetail-host: the other end of the wire, for people who write a host and for tests\n"
      "\n"
      "Usage: dovetail-host [OPTION...] [COMMAND...]\n"
      "\n"
      "Commands:\n"
      "  run                                 be the host until SIGTERM or SIGINT (the default); prints one JSON object a line\n"
      "  folders list                        print the watched folders\n"
      "  folders add PATH...                 watch folders\n"
      "  folders remove PATH...              watch them no longer\n"
      "  folders clear                       watch none\n"
      "  items contextual|toolbar [show]     print a menu's layout\n"
      "  items contextual|toolbar [root=TAGS] [more=TAGS] [other=TAGS]\n"
      "                                      set it: tags 1 to 10 with commas between; the tags left over are hidden\n"
      "  items contextual|toolbar reset      go back to the layout of a new user\n"
      "  icons archive|contextual|toolbar on|off\n"
      "                                      show icons in archive menus, or beside a menu's commands\n"
      "  settings                            print all shared settings as JSON\n"
      "\n"
      "Options:\n"
      "  --group GROUP                       application group that names ports and settings\n"
      "  --identifier NAME                   bundle identifier that is owned on the session bus\n"
      "  --version TEXT                      version that is written into the settings\n"
      "  --no-answer                         print requests for archives without answering them\n"
      "  --quiet                             print nothing but the lines \"ready\", \"promoted\" and \"quit\"\n"
      "  --help                              print this\n"
      "  --                                  what follows are no options\n"
      "\n"
      "Exit status: 0 when done, 1 when something went wrong, 2 for a command that is none.\n";

  /// Options may stand anywhere; those not given are the build's settings. Nothing, with `fault` as one sentence, when an option is
  /// unknown or lacks its value.
  static std::optional<CommandLine> parse(const std::vector<std::string>& arguments, std::string& fault);
};

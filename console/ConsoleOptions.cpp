#include "console/ConsoleOptions.h"

#include <string_view>

namespace {

constexpr std::string_view usage =
    "usage: dovetail-console [--json] [--entitlements FILE] [--bundle-version TEXT]\n"
    "       dovetail-console diagnose\n"
    "       dovetail-console images FOLDER\n"
    "\n"
    "A file browser without a screen: loads the extension as a browser does and takes commands in\n"
    "place of clicks. Type help at its prompt.\n"
    "\n"
    "  --json                 one JSON object a line, for scripts (docs/console.md)\n"
    "  --entitlements FILE    the extension's entitlements, in place of those built in\n"
    "  --bundle-version TEXT  the extension's version, in place of the one built in\n"
    "  --help                 this text\n"
    "  diagnose               tells why a menu may be missing; the status is 1 when it finds a fault\n"
    "  images FOLDER          draws all images of the menus into the folder, for people to look at\n";

void endWith(ConsoleOptions& options, int status, std::string_view text) {
  options.status = status;
  options.text = text;
}

}  // namespace

ConsoleOptions consoleOptions(int count, char** arguments) {
  ConsoleOptions options;
  for (int i = 1; i < count && !options.status; ++i) {
    const std::string_view name = arguments[i];
    const bool hasValue = i + 1 < count;
    if (name == "--help") {
      endWith(options, 0, usage);
    } else if (name == "--json") {
      options.isJSON = true;
    } else if (name == "--entitlements" && hasValue) {
      options.entitlementsFile = arguments[++i];
    } else if (name == "--bundle-version" && hasValue) {
      options.bundleVersion = arguments[++i];
    } else if (name == "diagnose" && i + 1 == count) {
      options.isDiagnosisWanted = true;
    } else if (name == "images" && i == 1 && count == 3) {
      options.imagesFolder = arguments[++i];
    } else {
      endWith(options, 2, "dovetail-console: not understood: " + std::string(name) + "\n\n" + std::string(usage));
    }
  }
  return options;
}

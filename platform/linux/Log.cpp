#include "platform/linux/Log.h"

#include <glib.h>

#include <algorithm>
#include <cstdlib>
#include <string>

namespace platform::native {
namespace {

constexpr const char* domain = "Dovetail";

// Words are separated by spaces, as GLib reads the variable.
bool isWantedOnStandardError() {
  const char* value = std::getenv("G_MESSAGES_DEBUG");
  if (value == nullptr) return false;
  const std::string words = " " + std::string(value) + " ";
  return words.find(" all ") != std::string::npos || words.find(" Dovetail ") != std::string::npos;
}

std::string onOneLine(std::string_view text) {
  std::string line(text);
  const auto isControl = [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; };
  std::replace_if(line.begin(), line.end(), isControl, ' ');
  return line;
}

}  // namespace

void LinuxLog::line(std::string_view text) {
  const std::string line = onOneLine(text);
  const GLogField fields[] = {
      {"MESSAGE", line.c_str(), -1}, {"PRIORITY", "6", -1}, {"GLIB_DOMAIN", domain, -1}, {"SYSLOG_IDENTIFIER", domain, -1}};
  g_log_writer_journald(G_LOG_LEVEL_INFO, fields, G_N_ELEMENTS(fields), nullptr);
  // GLib's stream writer chooses standard error for messages, standard output for anything less.
  if (isWantedOnStandardError()) g_log_writer_standard_streams(G_LOG_LEVEL_MESSAGE, fields, G_N_ELEMENTS(fields), nullptr);
  if (onLine_) onLine_(line);
}

}  // namespace platform::native

#include "platform/linux/files/RecentlyUsed.h"

#include "platform/linux/OwnedGLib.h"
#include "platform/linux/files/BoundedFile.h"

namespace platform::native {
namespace {

constexpr std::size_t maximumListLength = 8 * 1024 * 1024;
constexpr std::int64_t referenceDateSinceEpoch = 978307200;

// Desktops escape differently, so the decoded names are compared.
bool isOfPath(const char* uri, std::string_view path) {
  const OwnedText decoded(g_filename_from_uri(uri, nullptr, nullptr));
  return decoded && path == decoded.get();
}

}  // namespace

std::string recentlyUsedListPath() { return std::string(g_get_user_data_dir()) + "/recently-used.xbel"; }

std::optional<Date> lastUsedDate(const std::string& listPath, std::string_view path) {
  const auto text = contentsOfFile(listPath.c_str(), maximumListLength);
  if (!text || text->empty()) return std::nullopt;
  const std::unique_ptr<GBookmarkFile, Release<g_bookmark_file_free>> list(g_bookmark_file_new());
  if (!g_bookmark_file_load_from_data(list.get(), text->data(), text->size(), nullptr)) return std::nullopt;
  const OwnedTexts uris(g_bookmark_file_get_uris(list.get(), nullptr));
  for (char** uri = uris.get(); *uri; ++uri) {
    if (!isOfPath(*uri, path)) continue;
    GDateTime* const visited = g_bookmark_file_get_visited_date_time(list.get(), *uri, nullptr);
    if (visited) return Date{static_cast<double>(g_date_time_to_unix(visited) - referenceDateSinceEpoch)};
  }
  return std::nullopt;
}

}  // namespace platform::native

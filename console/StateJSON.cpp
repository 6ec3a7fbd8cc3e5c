#include "console/StateJSON.h"

#include <map>

using platform::FileIdentity;
using platform::JSON;
using platform::URL;

namespace {

std::string hexadecimal(const FileIdentity& identity) {
  static constexpr char digits[] = "0123456789abcdef";
  std::string text;
  for (const std::uint8_t byte : identity.bytes()) (text += digits[byte >> 4]) += digits[byte & 15];
  return text;
}

// A folder that was never entered is where its files are.
std::string pathOfFolder(const FileIdentity& identity, const URLSet& files, const FolderPaths& folderPaths) {
  if (const auto known = folderPaths.find(identity); known != folderPaths.end()) return known->second;
  if (files.urls().empty()) return hexadecimal(identity);
  const std::string path = files.urls().front().path();
  return path.substr(0, std::max<std::size_t>(path.rfind('/'), 1));
}

JSON observedFilesJSON(const DTDovetailSync& extension, const FolderPaths& folderPaths) {
  std::map<std::string, JSON> folders;
  for (const auto& [identity, files] : extension.observedFiles()) {
    JSON::ArrayValue paths;
    for (const URL& url : files.urls()) paths.push_back(url.path());
    folders[pathOfFolder(identity, files, folderPaths)] = std::move(paths);
  }
  JSON::ObjectValue members(folders.begin(), folders.end());
  return members;
}

JSON targetsJSON(const DTDovetailSync& extension) {
  if (!extension.targetUrls()) return {};
  JSON::ArrayValue urls;
  for (const URL& url : *extension.targetUrls()) urls.push_back(url.absoluteString());
  return urls;
}

}  // namespace

JSON stateJSON(const DTDovetailSync& extension, const FolderPaths& folderPaths) {
  return JSON::ObjectValue{
      {"applicationPid", static_cast<std::int64_t>(extension.applicationPid())},
      {"portName", extension.portName() ? JSON(*extension.portName()) : JSON()},
      {"portOpen", extension.port() != nullptr},
      {"targetUrls", targetsJSON(extension)},
      {"observedFiles", observedFilesJSON(extension, folderPaths)},
      {"archives", extension.archives().count()},
      {"archiveMenus", extension.archiveMenus().count()},
  };
}

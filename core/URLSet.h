// A set of file URLs in the order of their arrival. Two URLs are one member when they hash alike, that is by their text,
// and are URLs of the same file; two forms of one file's URL may therefore both be members.
#pragma once

#include <cstddef>
#include <vector>

#include "platform/FileIdentity.h"
#include "platform/FileManager.h"
#include "platform/HashIndex.h"
#include "platform/URL.h"

class URLSet {
 public:
  /// Adds the URL of an existing file, whose identity the caller has just read. False when it was a member already.
  bool insert(const platform::URL& url, const platform::FileIdentity& identity, platform::FileManager& fileManager);

  const std::vector<platform::URL>& urls() const { return urls_; }

 private:
  std::vector<platform::URL> urls_;
  std::vector<std::size_t> hashes_;  // of each member
  platform::HashIndex index_;
};

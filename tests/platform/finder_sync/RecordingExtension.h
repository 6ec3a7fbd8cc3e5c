// An extension that only notes what the browser tells it.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "platform/FinderSync.h"

inline platform::MenuItem itemTitled(std::string title) {
  platform::MenuItem item;
  item.title = std::move(title);
  return item;
}

class RecordingExtension final : public platform::FinderSync {
 public:
  std::vector<std::string> take() { return std::exchange(calls_, {}); }

  std::optional<platform::Menu> menuForMenuKind(platform::MenuKind kind) override {
    calls_.push_back("menu " + std::to_string(static_cast<std::uint64_t>(kind)));
    return platform::Menu{{itemTitled("Item")}};
  }
  void beginObservingDirectoryAtURL(const platform::URL& url) override { calls_.push_back("begin " + url.path()); }
  void endObservingDirectoryAtURL(const platform::URL& url) override { calls_.push_back("end " + url.path()); }
  void requestBadgeIdentifierForURL(const platform::URL& url) override { calls_.push_back("badge " + url.path()); }
  std::string toolbarItemName() const override { return "Name"; }
  std::string toolbarItemToolTip() const override { return ""; }
  platform::ImageRef toolbarItemImage() const override { return nullptr; }
  void sendAction(const platform::MenuItem& sender) override { calls_.push_back("chosen " + sender.title); }

 private:
  std::vector<std::string> calls_;
};

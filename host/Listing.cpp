#include "host/Listing.h"

#include <algorithm>

namespace {

constexpr std::size_t headLength = 1 + 8 + 4;

void appendLittleEndian(std::string& out, std::uint64_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out.push_back(static_cast<char>(value >> (8 * i)));
}

std::uint64_t littleEndian(std::string_view bytes) {
  std::uint64_t value = 0;
  for (std::size_t i = bytes.size(); i-- > 0;) value = value << 8 | static_cast<std::uint8_t>(bytes[i]);
  return value;
}

}  // namespace

void Listing::append(std::string_view path, bool isFolder, std::uint64_t size) {
  records_.push_back({size, static_cast<std::uint32_t>(paths_.size()), static_cast<std::uint16_t>(path.size()), isFolder});
  paths_.append(path);
}

Listing::Entry Listing::entry(std::size_t position) const {
  const Record& record = records_[position];
  return {std::string_view(paths_).substr(record.pathStart, record.pathLength), record.isFolder, record.size};
}

void appendListingFrame(std::string& out, ListingFrame kind, std::uint64_t size, std::string_view text) {
  text = text.substr(0, Listing::maximumPathLength);
  out.push_back(static_cast<char>(kind));
  appendLittleEndian(out, size, 8);
  appendLittleEndian(out, text.size(), 4);
  out.append(text);
}

ListingParser::State ListingParser::take(std::string_view bytes) {
  if (state_ == State::finished && !bytes.empty()) state_ = State::refused;
  if (state_ != State::unfinished) return state_;
  pending_.append(bytes);
  std::size_t start = 0;
  while (state_ == State::unfinished && pending_.size() - start >= headLength) {
    const std::string_view rest = std::string_view(pending_).substr(start);
    const std::uint64_t length = littleEndian(rest.substr(9, 4));
    if (length > Listing::maximumPathLength) return state_ = State::refused;
    if (rest.size() - headLength < length) break;
    state_ = takeFrame(static_cast<ListingFrame>(rest[0]), littleEndian(rest.substr(1, 8)), rest.substr(headLength, length));
    start += headLength + length;
  }
  pending_.erase(0, start);
  if (state_ == State::finished && !pending_.empty()) state_ = State::refused;
  return state_;
}

ListingParser::State ListingParser::takeFrame(ListingFrame kind, std::uint64_t size, std::string_view text) {
  switch (kind) {
    case ListingFrame::file:
    case ListingFrame::folder:
      if (listing_.count() >= bounds_.entries || listing_.pathBytes() + text.size() > bounds_.pathBytes) return State::refused;
      listing_.append(text, kind == ListingFrame::folder, size);
      return State::unfinished;
    case ListingFrame::whole: return finish(size, {});
    case ListingFrame::partial: return finish(size, text);
    case ListingFrame::noArchive: return State::finished;
  }
  return State::refused;
}

ListingParser::State ListingParser::finish(std::uint64_t leftOut, std::string_view shortfall) {
  listing_.leftOut = leftOut;
  listing_.shortfall = shortfall;
  result_ = std::move(listing_);
  return State::finished;
}

// The table of contents of one archive as the listing child finds it, and the frames in which it travels from the child to
// the host. A frame is one kind byte, the size (of the last frame: how many entries are left out) as 8 and the length as 4 bytes
// (little-endian), then `length` bytes of path or text. The host trusts none of it: every length and count is bounded before anything is kept.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// How much of an archive is listed. What lies beyond is left out and the listing says that it is not whole.
struct ListingBounds {
  std::uint64_t entries = 1'000'000;
  std::uint64_t pathBytes = 128u << 20;  ///< Of all paths together.
};

/// Entries in the archive's order. Paths are the archive's own bytes, in any charset, as nobody has looked at them yet.
class Listing {
 public:
  struct Entry {
    std::string_view path;
    bool isFolder;
    std::uint64_t size;  ///< In bytes; 0 when the archive does not tell.
  };

  /// Longer paths do not travel.
  static constexpr std::size_t maximumPathLength = 65'535;

  void append(std::string_view path, bool isFolder, std::uint64_t size);
  std::size_t count() const { return records_.size(); }
  std::size_t pathBytes() const { return paths_.size(); }
  /// The view lives as long as the listing and no longer than until the next `append`.
  Entry entry(std::size_t position) const;

  /// Empty when the archive was read to its end, else what kept the rest out.
  std::string shortfall;
  /// Entries that are known to be missing: without a name that can be read, with one that is too long, beyond the bounds.
  std::uint64_t leftOut = 0;

 private:
  struct Record {
    std::uint64_t size;
    std::uint32_t pathStart;
    std::uint16_t pathLength;
    bool isFolder;
  };

  std::vector<Record> records_;
  std::string paths_;
};

enum class ListingFrame : std::uint8_t {
  file = 'F',
  folder = 'D',
  whole = 'W',      ///< Ends a listing: that was all.
  partial = 'P',    ///< Ends a listing: the text says what kept the rest out.
  noArchive = 'N',  ///< Ends a listing: the file is no archive.
};

/// Appends one frame to `out`; a longer text is cut to `Listing::maximumPathLength`.
void appendListingFrame(std::string& out, ListingFrame kind, std::uint64_t size, std::string_view text);

/// Puts one listing together from frames that arrive in pieces.
class ListingParser {
 public:
  enum class State { unfinished, finished, refused };

  explicit ListingParser(const ListingBounds& bounds) : bounds_(bounds) {}

  /// Takes the next bytes. `refused`, for good, on anything that a sound child does not send, also bytes after the end.
  State take(std::string_view bytes);
  /// Once finished: the listing, or nothing for a file that is no archive.
  std::optional<Listing> takeResult() { return std::move(result_); }

 private:
  State takeFrame(ListingFrame kind, std::uint64_t size, std::string_view text);
  State finish(std::uint64_t leftOut, std::string_view shortfall);

  ListingBounds bounds_;
  State state_ = State::unfinished;
  std::string pending_;
  Listing listing_;
  std::optional<Listing> result_;
};

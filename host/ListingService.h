// The listing child: a process of this program that reads archives for the host, so that a hostile one can hang, exhaust or
// crash nothing but the child. It is handed open files over a socket, one at a time, and answers each with the frames of
// host/Listing.h.
#pragma once

#include <cstdint>

#include "host/Listing.h"

/// The hidden first argument that turns `dovetail-host` into a listing child; the three bounds follow it as decimals.
inline constexpr char listingServiceCommand[] = "list-archives";

/// Serves the socket until the host closes it. The process takes its memory limit for good, ends with its parent, and
/// holds no other descriptor. Exit status of the process: 0 when the host has closed the socket, else 1.
int runListingService(int socket, const ListingBounds& bounds, std::uint64_t memoryBytes);

/// What the child answers for one open file: all its frames, given to `write` in pieces; `write` answers false to stop.
/// The file's position is left anywhere.
class FrameSink {
 public:
  virtual ~FrameSink() = default;
  [[nodiscard]] virtual bool write(std::string_view frames) = 0;
};
void listArchive(int file, const ListingBounds& bounds, FrameSink& sink);

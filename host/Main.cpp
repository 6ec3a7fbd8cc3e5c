// The reference host: the other end of the wire, for people who write a host and for tests.
#include <cstdlib>
#include <string_view>

#include "host/ListingService.h"

int main(int argc, char** argv) {
  if (argc == 5 && std::string_view(argv[1]) == listingServiceCommand) {
    const ListingBounds bounds{std::strtoull(argv[2], nullptr, 10), std::strtoull(argv[3], nullptr, 10)};
    return runListingService(0, bounds, std::strtoull(argv[4], nullptr, 10));
  }
  return 2;
}

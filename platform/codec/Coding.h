// What a class of the programs' own does to travel in a keyed archive, and how a decoder finds the class by its name.
#pragma once

#include <memory>
#include <span>
#include <string_view>

namespace platform {

class KeyedArchiver;
class KeyedUnarchiver;

class Coding {
 public:
  virtual ~Coding() = default;
  /// The names of the class and its ancestors, the class itself first, "NSObject" last; static storage.
  virtual std::span<const std::string_view> classNames() const = 0;
  /// Writes the instance's keyed values, in a fixed order.
  virtual void encodeWithCoder(KeyedArchiver& coder) const = 0;
};

/// Makes the instance from the keyed values of one archived object, or nothing when they are unusable; the whole
/// archive is then refused.
using InitWithCoder = std::shared_ptr<const Coding> (*)(KeyedUnarchiver& coder);

struct ArchivedClass {
  std::string_view name;
  InitWithCoder initWithCoder;
};

/// The classes of the programs' own that a decoder may make. Any other class outside the platform's own refuses the archive.
using ClassTable = std::span<const ArchivedClass>;

}  // namespace platform

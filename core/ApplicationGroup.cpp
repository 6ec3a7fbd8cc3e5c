#include "core/ApplicationGroup.h"

using platform::Array;
using platform::Failure;
using platform::Object;

platform::Result<std::string, std::string_view> copyApplicationGroup(platform::Security& security) {
  const auto task = security.createFromSelf();
  if (!task) return Failure{"There was an error creating security task for Finder extension."};
  const Object value = task->copyValueForEntitlement(platform::ApplicationGroupsEntitlement);
  if (value.isNil()) return Failure{"There was an error getting application groups security entitlement."};
  const auto* groups = value.get<Array>();
  if (!groups || groups->empty()) return Failure{"Application groups security entitlement is empty."};
  const auto* first = groups->front().get<std::string>();
  if (!first) return Failure{"Application groups security entitlement is of unknown type."};
  return *first;
}

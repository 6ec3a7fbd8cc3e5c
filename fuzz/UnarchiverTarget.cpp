// Any bytes as a keyed archive. What it decodes to can be archived again, shown as text and read from that text, and is the
// same value each time.
#include <string>

#include "archive/ArchivedClasses.h"
#include "fuzz/Target.h"
#include "host/ObjectJSON.h"
#include "host/RawRecords.h"
#include "platform/codec/KeyedArchiver.h"
#include "platform/codec/KeyedUnarchiver.h"

using platform::KeyedArchiver;
using platform::KeyedUnarchiver;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const platform::ByteView bytes(data, size);
  static_cast<void>(KeyedUnarchiver::unarchiveObjectWithData(bytes, archivedClasses()));
  const auto object = KeyedUnarchiver::unarchivedObjectWithData(bytes, rawClasses());
  if (!object) return 0;
  const std::string text = textOfObject(*object);
  const auto archive = KeyedArchiver::archivedDataWithRootObject(*object);
  // The writer spells out what the bytes share, so its archive may exceed the bounds.
  if (!archive || archive->size() > 16 * size + 4096) return 0;
  const auto again = KeyedUnarchiver::unarchivedObjectWithData(*archive, rawClasses());
  fuzz::expect(again && textOfObject(*again) == text, "what was decoded can be written and read again");
  const auto read = objectOfText(text);
  fuzz::expect(read && textOfObject(*read) == text, "a value's text is read as the value");
  return 0;
}

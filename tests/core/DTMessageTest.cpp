// The record: its fields, its keyed values and the exact bytes of its archive.
#include "core/DTMessage.h"

#include <gtest/gtest.h>

#include "archive/ArchivedClasses.h"
#include "platform/codec/KeyedArchiver.h"
#include "platform/codec/KeyedUnarchiver.h"
#include "tests/platform/codec/ArchiveBytes.h"

namespace {

using platform::Data;
using platform::KeyedArchiver;
using platform::KeyedUnarchiver;
using platform::Object;

Data archiveOf(DTMessage message) {
  const auto bytes = KeyedArchiver::archivedDataWithRootObject(Object(std::make_shared<DTMessage>(std::move(message))));
  return bytes.value_or(Data());
}

std::shared_ptr<const DTMessage> decoded(const Data& bytes) {
  return KeyedUnarchiver::unarchiveObjectWithData(bytes, archivedClasses()).instance<DTMessage>();
}

TEST(DTMessage, startsWithANullSelectorAndNoArgument) {
  const DTMessage message;
  EXPECT_FALSE(message.selector());
  EXPECT_TRUE(message.argument().isNil());
  EXPECT_FALSE(message.portName());
}

TEST(DTMessage, takesSelectorAndArgumentAndHasNoPortName) {
  const DTMessage message("go:", "hi");
  EXPECT_EQ(message.selector(), "go:");
  EXPECT_EQ(*message.argument().get<std::string>(), "hi");
  EXPECT_FALSE(message.portName());
}

TEST(DTMessage, theDocumentedExampleIsWrittenByteForByte) {
  DTMessage message("go:", "hi");
  message.setPortName("p");
  EXPECT_EQ(hexOf(archiveOf(message)),
            "62706c6973743030"
            "d401020304050607"
            "0a"
            "582476657273696f6e"
            "592461726368697665"
            "72"
            "5424746f70"
            "58246f626a65637473"
            "12000186a0"
            "5f100f4e534b657965644172636869766572"
            "d10809"
            "54726f6f74"
            "8001"
            "a60b0c15161718"
            "55246e756c6c"
            "d40d0e0f1011121314"
            "5873656c6563746f72"
            "58617267756d656e74"
            "58706f72744e616d65"
            "5624636c617373"
            "8002800380048005"
            "53676f3a"
            "526869"
            "5170"
            "d2191a1b1c"
            "5a24636c6173736e616d65"
            "5824636c6173736573"
            "5944544d657373616765"
            "a21b1d"
            "584e534f626a656374"
            "08111a24293237494c5153"
            "5a6069727b848b8d8f919397"
            "9a"
            "9ca1acb5bfc2"
            "000000000000"
            "0101"
            "000000000000001e"
            "0000000000000000"
            "00000000000000cb");
}

// Python's plistlib writes the same bytes for the same objects.
TEST(DTMessage, whatIsNilIsWrittenByteForByteAsAReferenceToTheNullObject) {
  EXPECT_EQ(hexOf(archiveOf(DTMessage())),
            "62706c6973743030d4010203040506070a582476657273696f6e592461726368697665725424746f7058246f626a6563747312000186a05f"
            "100f4e534b657965644172636869766572d1080954726f6f748001a30b0c1555246e756c6cd40d0e0f10111213145873656c6563746f7258"
            "617267756d656e7458706f72744e616d655624636c6173738000800080008002d2161718195a24636c6173736e616d655824636c61737365"
            "735944544d657373616765a2181a584e534f626a65637408111a24293237494c5153575d666f7881888a8c8e9095a0a9b3b6000000000000"
            "0101000000000000001b000000000000000000000000000000bf");
}

TEST(DTMessage, allThreeFieldsComeBack) {
  DTMessage message("compress:", platform::Integer::ofUnsigned(0x4000002));
  message.setPortName("org.dovetail.group.Sync.4711");
  const auto copy = decoded(archiveOf(message));
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy->selector(), "compress:");
  EXPECT_EQ(copy->argument().get<platform::Integer>()->unsignedValue(), 0x4000002u);
  EXPECT_EQ(copy->portName(), "org.dovetail.group.Sync.4711");
}

TEST(DTMessage, aNullSelectorIsANilValueThatReadsBackAsAbsent) {
  const auto copy = decoded(archiveOf(DTMessage()));
  ASSERT_TRUE(copy);
  EXPECT_FALSE(copy->selector());
}

TEST(DTMessage, aNilArgumentStaysNil) {
  const auto copy = decoded(archiveOf(DTMessage()));
  ASSERT_TRUE(copy);
  EXPECT_TRUE(copy->argument().isNil());
  EXPECT_FALSE(copy->portName());
}

std::shared_ptr<const DTMessage> message(ArchiveBytes& archive, const ArchiveBytes::Fields& fields) {
  return decoded(archive.archive(archive.instance("DTMessage", fields)));
}

TEST(DTMessage, aMissingKeyLeavesItsFieldEmpty) {
  ArchiveBytes none;
  const auto empty = message(none, {});
  ASSERT_TRUE(empty);
  EXPECT_FALSE(empty->selector());
  EXPECT_TRUE(empty->argument().isNil());
  EXPECT_FALSE(empty->portName());
  ArchiveBytes one;
  const auto made = message(one, {{"selector", one.uid(one.slot(one.text("go:")))}});
  ASSERT_TRUE(made);
  EXPECT_EQ(made->selector(), "go:");
  EXPECT_TRUE(made->argument().isNil());
}

TEST(DTMessage, aSelectorAndAPortNameOfAnotherKindAreAbsent) {
  ArchiveBytes archive;
  const auto number = archive.uid(archive.slot(archive.integer(7)));
  const auto made = message(archive, {{"selector", number}, {"argument", number}, {"portName", number}});
  ASSERT_TRUE(made);
  EXPECT_FALSE(made->selector());
  EXPECT_FALSE(made->portName());
  ASSERT_TRUE(made->argument().get<platform::Integer>());
  EXPECT_EQ(made->argument().get<platform::Integer>()->unsignedValue(), 7u);
}

}  // namespace

// What a writer that has seen other messages writes, beside the archive that is made from the message's parts.
#include "core/MessageWriter.h"

#include <gtest/gtest.h>

#include "platform/codec/KeyedArchiver.h"

namespace {

using platform::ByteView;
using platform::Data;
using platform::Object;
using platform::URL;

class MessageWriting : public testing::Test {
 protected:
  void expectSameArchive(const DTMessage& message, const std::string& note) {
    const auto whole = platform::KeyedArchiver::archivedDataWithRootObject(
        Object(std::shared_ptr<const platform::Coding>(std::make_shared<DTMessage>(message))));
    const auto written = writer_.archive(message);
    ASSERT_TRUE(whole && written) << note;
    EXPECT_EQ(Data(written->begin(), written->end()), *whole) << note;
  }
  void expectSameQuestion(Object argument, const std::string& note, std::optional<std::string> portName = "G.Sync.4711",
                          const std::string& selector = "openArchive:portName:") {
    DTMessage message(selector, std::move(argument));
    message.setPortName(std::move(portName));
    expectSameArchive(message, note);
  }

 private:
  MessageWriter writer_;
};

TEST_F(MessageWriting, aRunOfQuestionsIsWrittenAsEachWouldBeByItself) {
  for (std::size_t length = 1; length < 400; ++length) {
    expectSameQuestion(URL::fileURLWithPath("/" + std::string(length, 'a')), std::to_string(length));
  }
  for (const char* path : {"/a", "/na me", "/\xc3\xa4", "/\xff", "/%", "/$null"})
    expectSameQuestion(URL::fileURLWithPath(path), path);
  expectSameQuestion(URL::fileURLWithPath("/folder", true), "a folder");
}

TEST_F(MessageWriting, textThatNeedsWiderNumbersIsWrittenFromTheParts) {
  for (const std::size_t length : {10u, 65'000u, 65'100u, 65'535u, 65'536u, 70'000u, 10u}) {
    expectSameQuestion(URL::fileURLWithPath("/" + std::string(length, 'a')), std::to_string(length));
  }
}

TEST_F(MessageWriting, anotherPortOrSelectorIsNotTakenForTheOneBefore) {
  const URL file = URL::fileURLWithPath("/a");
  expectSameQuestion(file, "first");
  expectSameQuestion(file, "another port", "G.Sync.4712");
  expectSameQuestion(file, "no port", std::nullopt);
  expectSameQuestion(file, "another selector", "G.Sync.4711", "rename:");
  expectSameQuestion(file, "the first again");
}

TEST_F(MessageWriting, otherArgumentsMayComeInBetween) {
  expectSameQuestion(URL::fileURLWithPath("/a"), "a file");
  expectSameQuestion("text", "text");
  expectSameQuestion({}, "nil");
  expectSameQuestion(URL::URLWithString("b", URL::fileURLWithPath("/folder", true)), "a relative URL");
  expectSameQuestion(URL::fileURLWithPath("/b"), "another file");
}

// "NSURL" and the like stand in the archive anyway, and equal texts stand there once.
TEST_F(MessageWriting, aURLWhoseTextStandsInTheArchiveAlreadySharesIt) {
  expectSameQuestion(URL::fileURLWithPath("/a"), "a file");
  for (const char* text : {"NSURL", "$null", "root", "http://example.org/a", "", "\xc3\xa4"}) {
    expectSameQuestion(URL::URLWithString(text), text);
  }
  expectSameQuestion(URL::URLWithString("file:///a\xc3\xa4"), "text that is not ASCII");
  expectSameQuestion(URL::fileURLWithPath("/b"), "another file");
}

TEST_F(MessageWriting, whatCannotBeArchivedIsRefusedAndLeavesNoTrace) {
  MessageWriter writer;
  const DTMessage broken("openArchive:portName:", URL::URLWithString("file:///\xff"));
  EXPECT_FALSE(writer.archive(broken));
  EXPECT_TRUE(writer.archive(DTMessage("openArchive:portName:", URL::fileURLWithPath("/a"))));
  EXPECT_FALSE(writer.archive(broken));
}

}  // namespace

// The log never writes to standard output, and to standard error only when asked to.
#include <glib.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <vector>

#include "platform/linux/Log.h"
#include "tests/platform/PeerProcess.h"

namespace {

struct Streams {
  std::string output;
  std::string error;
};

// What a process prints that writes one line with G_MESSAGES_DEBUG set to `wanted`.
Streams printedBy(const char* wanted, std::string_view line) {
  std::array<int, 2> output{}, error{};
  EXPECT_EQ(::pipe(output.data()) + ::pipe(error.data()), 0);
  tests::PeerProcess program([&](const auto&) {
    ::dup2(output[1], STDOUT_FILENO);
    ::dup2(error[1], STDERR_FILENO);
    if (wanted != nullptr)
      ::setenv("G_MESSAGES_DEBUG", wanted, 1);
    else
      ::unsetenv("G_MESSAGES_DEBUG");
    platform::native::LinuxLog().line(line);
    return std::fflush(nullptr);
  });
  EXPECT_EQ(program.wait(), 0);
  const auto all = [](std::array<int, 2> ends) {
    ::close(ends[1]);
    std::string text;
    char byte;
    while (::read(ends[0], &byte, 1) == 1) text += byte;
    ::close(ends[0]);
    return text;
  };
  return {all(output), all(error)};
}

TEST(Log, printsNothingByDefault) {
  const Streams printed = printedBy(nullptr, "a line");
  EXPECT_EQ(printed.output, "");
  EXPECT_EQ(printed.error, "");
  EXPECT_EQ(printedBy("Other DovetailX", "a line").error, "");
}

TEST(Log, printsToStandardErrorAloneWhenTheDomainIsAskedFor) {
  for (const char* wanted : {"all", "Dovetail", "Other Dovetail"}) {
    const Streams printed = printedBy(wanted, "a line");
    EXPECT_EQ(printed.output, "");
    EXPECT_NE(printed.error.find("a line"), std::string::npos) << wanted;
  }
}

TEST(Log, keepsALineOnOneLine) {
  const Streams printed = printedBy("all", "one\ntwo\r\x1Bthree \xFF");
  EXPECT_NE(printed.error.find("one two  three"), std::string::npos) << printed.error;
}

TEST(Log, showsEachLineToWhoeverAskedForIt) {
  platform::native::LinuxLog log;
  std::vector<std::string> lines;
  log.line("before");
  log.setOnLine([&](std::string_view line) { lines.emplace_back(line); });
  log.line("first");
  log.line("sec\nond");
  log.setOnLine(nullptr);
  log.line("after");
  EXPECT_EQ(lines, (std::vector<std::string>{"first", "sec ond"}));
}

}  // namespace

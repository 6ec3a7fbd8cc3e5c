// Lines from a pipe, one at a turn of the main loop.
#include "console/LineSource.h"

#include <fcntl.h>
#include <glib.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <thread>
#include <vector>

using testing::ElementsAre;

namespace {

class LineSourceTest : public testing::Test {
 protected:
  ~LineSourceTest() override {
    close(ends[0]);
    closeInput();
  }

  void write(std::string_view text) { EXPECT_EQ(::write(ends[1], text.data(), text.size()), static_cast<ssize_t>(text.size())); }
  void closeInput() {
    if (ends[1] >= 0) close(ends[1]);
    ends[1] = -1;
  }
  /// Asks for one line and runs the loop until there is an answer.
  void take() {
    const std::size_t before = seen.size();
    lines.next();
    while (seen.size() == before) g_main_context_iteration(nullptr, TRUE);
  }

  std::array<int, 2> ends = openPipe();
  std::vector<std::string> seen;
  LineSource lines{ends[0],
                   {.onLine = [this](std::string_view line) { seen.emplace_back(line.substr(0, 20)); },
                    .onLongLine = [this] { seen.push_back("(long)"); },
                    .onEnd = [this] { seen.push_back("(end)"); }}};

 private:
  static std::array<int, 2> openPipe() {
    std::array<int, 2> pipe;
    EXPECT_EQ(pipe2(pipe.data(), O_CLOEXEC), 0);
    return pipe;
  }
};

TEST_F(LineSourceTest, linesComeInOrderAndTheLastNeedsNoEnd) {
  write("one\n\nthree");
  closeInput();
  for (int i = 0; i < 4; ++i) take();
  EXPECT_THAT(seen, ElementsAre("one", "", "three", "(end)"));
}

TEST_F(LineSourceTest, aLineThatArrivesInPiecesIsOneLine) {
  write("on");
  lines.next();
  g_main_context_iteration(nullptr, TRUE);
  g_main_context_iteration(nullptr, TRUE);
  EXPECT_THAT(seen, ElementsAre());
  write("e\n");
  while (seen.empty()) g_main_context_iteration(nullptr, TRUE);
  EXPECT_THAT(seen, ElementsAre("one"));
}

TEST_F(LineSourceTest, noLineIsDeliveredBeforeItIsAskedFor) {
  write("one\ntwo\n");
  take();
  bool isIdle = false;
  g_timeout_add(
      5,
      [](gpointer flag) -> gboolean {
        *static_cast<bool*>(flag) = true;
        return G_SOURCE_REMOVE;
      },
      &isIdle);
  while (!isIdle) g_main_context_iteration(nullptr, TRUE);
  EXPECT_THAT(seen, ElementsAre("one"));
}

TEST_F(LineSourceTest, aLineThatIsTooLongIsThrownAwayWhole) {
  std::thread writer([this] {
    const std::string piece(1024 * 1024, 'x');
    for (std::size_t sent = 0; sent <= LineSource::longestLine; sent += piece.size()) write(piece);
    write("\nnext\n");
  });
  take();
  take();
  writer.join();
  EXPECT_THAT(seen, ElementsAre("(long)", "next"));
}

TEST_F(LineSourceTest, theEndOfTheInputIsToldAgainAndAgain) {
  closeInput();
  take();
  take();
  EXPECT_THAT(seen, ElementsAre("(end)", "(end)"));
}

}  // namespace

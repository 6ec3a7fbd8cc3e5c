// What our programs have in common: command lines read in one way (GLib's option parser), one wording, one set of exit statuses.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace platform::native {

struct ExitStatus {
  static constexpr int done = 0;
  static constexpr int failed = 1;
  static constexpr int misused = 2;  ///< The command line is not understood; nothing was done.
};

class Program {
 public:
  /// One option, `--name` or `--name=KIND`. The value stays as it is when the option is not given; of several the last counts.
  struct Option {
    const char* name;
    std::variant<bool*, std::string*, std::optional<std::string>*> value;
    const char* meaning;
    const char* kind = nullptr;  ///< What its text is, for the help; null for a flag.
  };
  using Words = std::vector<std::string>;
  using Body = std::function<int(const Words& words)>;

  /// `usage` names the words that are no options, `purpose` tells what the program is for and what its commands do. All texts and
  /// values outlive the object. The options --help, -h and --version are every program's.
  Program(const char* name, const char* usage, const char* purpose, std::vector<Option> options)
      : name_(name), usage_(usage), purpose_(purpose), options_(std::move(options)) {}

  /// Runs `body` on the words that are no options, byte for byte as they were given, and answers the exit status. Options may stand
  /// anywhere ahead of "--". Nothing that is thrown leaves it; what could not be written to standard output makes it fail.
  int run(char** arguments, const Body& body) const;
  /// The same for a body of its own, without a command line.
  int guard(const std::function<int()>& body) const;

  /// Writes one sentence to standard error and answers the status. A misuse points to the help too.
  int complain(std::string_view sentence, int status = ExitStatus::failed) const;
  int misuse(std::string_view sentence) const;

 private:
  /// Fills `words` and the options' values; else the exit status with which the program is to end at once.
  std::optional<int> read(char** arguments, Words& words) const;
  int finish(int status) const;

  const char* name_;
  const char* usage_;
  const char* purpose_;
  std::vector<Option> options_;
};

}  // namespace platform::native

#include "platform/linux/programs/Program.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <iostream>
#include <new>

#include "platform/BuildSettings.h"
#include "platform/linux/OwnedGLib.h"

namespace platform::native {
namespace {

constexpr char exitStatuses[] =
    "Exit status: 0 when done, 1 when something went wrong, 2 for a command line that is not understood.";

/// The options as GLib's parser takes them, with room for what it finds.
class ParsedOptions {
 public:
  explicit ParsedOptions(const std::vector<Program::Option>& options) : flags_(options.size()), texts_(options.size()) {
    for (std::size_t i = 0; i < options.size(); ++i) {
      const Program::Option& option = options[i];
      const bool isFlag = std::holds_alternative<bool*>(option.value);
      gpointer place = isFlag ? static_cast<gpointer>(&flags_[i]) : &texts_[i];
      add(option.name, 0, isFlag ? G_OPTION_ARG_NONE : G_OPTION_ARG_FILENAME, place, option.meaning, option.kind);
    }
    add("help", 'h', G_OPTION_ARG_NONE, &isHelpWanted, "Print this", nullptr);
    add("version", 0, G_OPTION_ARG_NONE, &isVersionWanted, "Print the version", nullptr);
    add(G_OPTION_REMAINING, 0, G_OPTION_ARG_FILENAME_ARRAY, &words_, nullptr, nullptr);
    entries_.push_back({});
  }
  ~ParsedOptions() {
    for (char* text : texts_) g_free(text);
    g_strfreev(words_);
  }
  ParsedOptions(const ParsedOptions&) = delete;

  const GOptionEntry* entries() const { return entries_.data(); }

  void assign(const std::vector<Program::Option>& options) const {
    for (std::size_t i = 0; i < options.size(); ++i) {
      if (flags_[i]) *std::get<bool*>(options[i].value) = true;
      if (!texts_[i]) continue;
      if (auto* const* text = std::get_if<std::string*>(&options[i].value)) **text = texts_[i];
      if (auto* const* text = std::get_if<std::optional<std::string>*>(&options[i].value)) **text = texts_[i];
    }
  }
  Program::Words words() const { return words_ ? Program::Words(words_, words_ + g_strv_length(words_)) : Program::Words(); }

  gboolean isHelpWanted = FALSE;
  gboolean isVersionWanted = FALSE;

 private:
  void add(const char* name, char letter, GOptionArg kind, gpointer place, const char* meaning, const char* kindText) {
    entries_.push_back({name, letter, G_OPTION_FLAG_NONE, kind, place, meaning, kindText});
  }

  std::vector<gboolean> flags_;
  std::vector<char*> texts_;
  char** words_ = nullptr;
  std::vector<GOptionEntry> entries_;
};

}  // namespace

int Program::run(char** arguments, const Body& body) const {
  return guard([&] {
    Words words;
    const std::optional<int> status = read(arguments, words);
    return status ? *status : body(words);
  });
}

int Program::guard(const std::function<int()>& body) const {
  try {
    return finish(body());
  } catch (const std::bad_alloc&) {
    return complain("There is not enough memory.");
  } catch (const std::exception& fault) {
    return complain(fault.what());
  } catch (...) {
    return complain("Something unknown went wrong.");
  }
}

int Program::complain(std::string_view sentence, int status) const {
  std::fprintf(stderr, "%s: %.*s\n", name_, static_cast<int>(sentence.size()), sentence.data());
  return status;
}

int Program::misuse(std::string_view sentence) const {
  return complain(std::string(sentence) + " See " + name_ + " --help.", ExitStatus::misused);
}

std::optional<int> Program::read(char** arguments, Words& words) const {
  const std::unique_ptr<GOptionContext, Release<g_option_context_free>> context(g_option_context_new(usage_));
  ParsedOptions parsed(options_);
  g_option_context_set_help_enabled(context.get(), FALSE);
  g_option_context_set_summary(context.get(), purpose_);
  g_option_context_set_description(context.get(), exitStatuses);
  g_option_context_add_main_entries(context.get(), parsed.entries(), nullptr);
  char** given = g_strdupv(arguments);
  GError* error = nullptr;
  const bool isUnderstood = g_option_context_parse_strv(context.get(), &given, &error);
  const OwnedTexts left(given);
  const OwnedError fault(error);
  if (!isUnderstood) return misuse(std::string(fault->message) + ".");
  if (parsed.isHelpWanted) std::cout << OwnedText(g_option_context_get_help(context.get(), TRUE, nullptr)).get();
  if (parsed.isVersionWanted) std::cout << name_ << ' ' << BuildSettings::bundleVersion << '\n';
  if (parsed.isHelpWanted || parsed.isVersionWanted) return ExitStatus::done;
  parsed.assign(options_);
  words = parsed.words();
  return std::nullopt;
}

// The last bytes reach a full device here, at the latest.
int Program::finish(int status) const {
  std::cout.flush();
  errno = 0;
  const bool isWritten = std::fflush(stdout) == 0 && std::ferror(stdout) == 0 && std::cout;
  if (isWritten) return status;
  const std::string reason = errno == 0 ? "" : std::string(": ") + std::strerror(errno);
  complain("Standard output cannot be written" + reason + ".");
  return status == ExitStatus::done ? ExitStatus::failed : status;
}

}  // namespace platform::native

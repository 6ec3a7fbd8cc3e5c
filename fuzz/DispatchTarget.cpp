// Any parts as records that reach a live extension one after the other, while the user opens menus and chooses from them. Bytes that
// are no record are reported to the host once and do nothing else; whatever came, the extension finds its host again.
#include "archive/ArchivedClasses.h"
#include "core/DTDovetailSync.h"
#include "fuzz/Target.h"
#include "platform/codec/KeyedUnarchiver.h"
#include "platform/fake/FakePlatform.h"

using platform::ByteView;
using platform::Object;

namespace {

constexpr std::int32_t hostProcess = 900;
constexpr std::size_t mostChoices = 4;

platform::URL fileURL(std::string_view path) { return platform::URL::fileURLWithPath(path); }

class Session {
 public:
  Session() {
    fakes_.fileManager.add("/w/a.zip");
    fakes_.fileManager.add("/w/b.txt");
    fakes_.finderSyncController.selection = {fileURL("/w/a.zip")};
    fakes_.messagePorts.listen("G.App");
    fakes_.runningApplications.processes["host"] = {hostProcess};
    fakes_.userDefaultsSuites.set("G", "DTApplicationVersion", Object("1.0"));
    extension_ = DTDovetailSync::init(fakes_.references(), onceOnly_);
    extension_->beginObservingDirectoryAtURL(fileURL("/w"));
    takeSelectors();
  }

  void receive(ByteView record) {
    const bool isNone = platform::KeyedUnarchiver::unarchiveObjectWithData(record, archivedClasses()).isNil();
    fakes_.messagePorts.deliver("G.Sync.4711", record);
    fakes_.loop.run();
    const auto selectors = takeSelectors();
    if (isNone) fuzz::expect(selectors == std::vector<std::string>{"showError:"}, "bytes that are no record are reported once");
    fakes_.calls.take();
  }

  void useMenus() {
    extension_->requestBadgeIdentifierForURL(fileURL("/w/b.txt"));
    std::size_t choicesLeft = mostChoices;
    for (const std::uint64_t kind : {0, 3}) {
      const auto menu = extension_->menuForMenuKind(static_cast<platform::MenuKind>(kind));
      if (menu) choose(*menu, choicesLeft);
    }
    fakes_.loop.run();
    takeSelectors();
  }

  void restartHost() {
    fakes_.processSources.fire(hostProcess);
    fakes_.loop.run();
    fakes_.distributedNotificationCenter.postNotificationName("DTDovetailRunning", "", true);
    fakes_.loop.run();
    fuzz::expect(extension_->applicationPid() == hostProcess, "the host is found again");
    fuzz::expect(extension_->archives().count() <= 2, "an archive is known only of a file that was asked about");
  }

 private:
  void choose(const platform::Menu& menu, std::size_t& choicesLeft) {
    for (const platform::MenuItem& item : menu.items) {
      if (item.action == "expand:" && choicesLeft > 0) {
        --choicesLeft;
        extension_->sendAction(item);
      }
      if (item.submenu) choose(*item.submenu, choicesLeft);
    }
  }

  std::vector<std::string> takeSelectors() {
    std::vector<std::string> selectors;
    for (const platform::Data& record : fakes_.messagePorts.takeReceived("G.App")) {
      const auto message = platform::KeyedUnarchiver::unarchiveObjectWithData(record, archivedClasses()).instance<DTMessage>();
      fuzz::expect(message != nullptr, "the host receives records only");
      selectors.push_back(message->selector().value_or(""));
    }
    return selectors;
  }

  platform::fake::FakePlatform fakes_;
  OnceOnly onceOnly_;
  std::shared_ptr<DTDovetailSync> extension_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Session session;
  for (const ByteView record : fuzz::parts({data, size})) {
    session.receive(record);
    session.useMenus();
  }
  session.restartHost();
  return 0;
}

#include "console/Diagnosis.h"

#include <iterator>

#include "console/HostDiagnosis.h"
#include "console/SettingsDiagnosis.h"
#include "core/ApplicationGroup.h"
#include "wire/Settings.h"

using platform::Platform;

namespace {

Finding findingOfBus(const SessionFacts& session) {
  constexpr const char* subject = "session bus";
  if (!session.hasBus) return Finding::fault(subject, "none can be reached: log in to a session");
  if (!session.busNames) return Finding::unknown(subject, "it was reached but does not answer: ask again, or log in anew");
  return Finding::ok(subject, "it answers");
}

HostFacts hostFacts(const Platform& services, const SessionFacts& session) {
  HostFacts facts{.identifier = services.mainBundle.hostBundleIdentifier(),
                  .isBusAnswering = session.busNames.has_value(),
                  .running = {},
                  .port = session.hostsPort,
                  .runtimeFolder = session.runtimeFolder,
                  .processes = session.processes};
  for (const auto& application : services.runningApplications.runningApplicationsWithBundleIdentifier(facts.identifier))
    facts.running.push_back(application.processIdentifier);
  return facts;
}

void add(std::vector<Finding>& findings, std::vector<Finding> more) {
  findings.insert(findings.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

std::vector<Finding> findingsOfSettings(const Platform& services, const std::optional<std::string>& group, bool isHostRunning) {
  const auto settings = group ? services.userDefaultsSuites.initWithSuiteName(*group) : nullptr;
  if (!settings) return {Finding::fault("settings", "there are none to be shared with the host: all menus are empty")};
  const auto own = services.mainBundle.objectForInfoDictionaryKey(platform::BundleVersionKey).value_or("");
  std::vector<Finding> findings = {
      findingOfBuilds(settings->stringForKey(wire::SettingsKey::applicationVersion), own, isHostRunning)};
  add(findings, findingsOfChoices(services.fileManager, *settings));
  return findings;
}

}  // namespace

std::vector<Finding> findingsOfServices(const Platform& services, const SessionFacts& session) {
  std::vector<Finding> findings;
  const auto group = copyApplicationGroup(services.security);
  findings.push_back(group ? Finding::ok("application group", *group)
                           : Finding::fault("application group", std::string(group.reason())));
  findings.push_back(findingOfBus(session));
  const HostFacts host = hostFacts(services, session);
  add(findings, findingsOfHost(host));
  findings.push_back(findingOfSettingsService(session.busNames));
  findings.push_back(findingOfSettingsFile(session.configurationFolder, session.settingsProfile));
  if (findings.back().mark == Finding::Mark::fault)
    findings.push_back(Finding::unknown("settings", "what stands in them cannot be read: mend their file, then ask again"));
  else
    add(findings, findingsOfSettings(services, group ? std::optional(*group) : std::nullopt, !host.running.empty()));
  return findings;
}

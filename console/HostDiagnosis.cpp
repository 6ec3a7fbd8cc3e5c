#include "console/HostDiagnosis.h"

#include <fstream>
#include <string_view>

using Answer = PortFacts::Answer;

namespace {

constexpr const char* host = "host";
constexpr const char* hostsPort = "host's port";

// proc_pid_stat(5): the state follows the name in brackets, which may hold brackets of its own.
std::optional<char> stateOf(const std::string& process) {
  std::string line;
  std::ifstream stream(process + "/stat");
  std::getline(stream, line);
  const auto bracket = line.rfind(") ");
  return bracket != std::string::npos && bracket + 2 < line.size() ? std::optional(line[bracket + 2]) : std::nullopt;
}

std::optional<std::string> runtimeFolderOf(const std::string& process) {
  constexpr std::string_view variable = "XDG_RUNTIME_DIR=";
  std::ifstream stream(process + "/environ", std::ios::binary);
  for (std::string one; std::getline(stream, one, '\0');) {
    if (one.starts_with(variable)) return one.substr(variable.size());
  }
  return std::nullopt;
}

std::string numbered(std::int32_t process) { return "process " + std::to_string(process); }

Finding findingOfAbsence(const HostFacts& facts) {
  if (!facts.isBusAnswering)
    return Finding::unknown(host, "without a session bus nobody can tell whether it runs: log in to a session, then ask again");
  if (facts.port.listener > 0)
    return Finding::fault(host, numbered(facts.port.listener) + " listens on its port, but " + facts.identifier +
                                    " is not on this session bus: end the process and start the host in this session");
  return Finding::fault(host, facts.identifier + " is not running: start it");
}

Finding findingOfProcess(const HostFacts& facts, std::int32_t process, std::optional<char> state) {
  const std::string number = std::to_string(process);
  if (!state)
    return Finding::unknown(host, facts.identifier + " is process " + number + ", which is not to be seen in " + facts.processes +
                                      ": look where it was started whether it is well");
  if (*state == 'T' || *state == 't')
    return Finding::fault(host,
                          facts.identifier + ", process " + number + ", is stopped: let it go on (kill -CONT " + number + ")");
  return Finding::ok(host, facts.identifier + " runs as process " + number);
}

Finding findingOfSilence(const HostFacts& facts, std::int32_t process) {
  const auto folder = runtimeFolderOf(facts.processes + "/" + std::to_string(process));
  if (!folder)
    return Finding::unknown(hostsPort, "nobody listens in " + facts.runtimeFolder + ", and the runtime folder of " +
                                           numbered(process) + " cannot be read: end it and start it in this session");
  if (*folder != facts.runtimeFolder)
    return Finding::fault(hostsPort, numbered(process) + " has its ports in the runtime folder " + *folder + ", this session in " +
                                         facts.runtimeFolder + ": end it and start it in this session");
  return Finding::fault(hostsPort, numbered(process) + " does not listen: end it and start it again");
}

Finding findingOfPort(const HostFacts& facts, std::int32_t process) {
  const PortFacts& port = facts.port;
  if (port.answer == Answer::cannotBeSeen)
    return Finding::unknown(hostsPort, "it cannot be reached (" + port.reason + "): end what is in its place, then ask again");
  if (port.answer == Answer::nobodyListens) return findingOfSilence(facts, process);
  if (port.listener > 0 && port.listener != process)
    return Finding::fault(hostsPort, numbered(port.listener) + " listens in the place of " + numbered(process) +
                                         ": end it, then start the host again");
  if (port.answer == Answer::isUnread)
    return Finding::fault(hostsPort,
                          numbered(process) + " listens but does not read: wait until it is done, or end it and start it again");
  return Finding::ok(hostsPort, numbered(process) + " listens and reads");
}

}  // namespace

std::vector<Finding> findingsOfHost(const HostFacts& facts) {
  if (facts.running.empty()) return {findingOfAbsence(facts)};
  if (facts.running.size() > 1) return {Finding::fault(host, facts.identifier + " is running more than once: end all but one")};
  const std::int32_t process = facts.running.front();
  std::vector<Finding> findings = {findingOfProcess(facts, process, stateOf(facts.processes + "/" + std::to_string(process)))};
  // Of a stopped host the port tells nothing more.
  if (!hasFault(findings)) findings.push_back(findingOfPort(facts, process));
  return findings;
}

Finding findingOfBuilds(const std::optional<std::string>& written, const std::string& extension, bool isHostRunning) {
  constexpr const char* version = "version";
  if (!written)
    return isHostRunning
               ? Finding::fault(version, "the host has not written its version into the settings: end it and start it again")
               : Finding::unknown(version, "no host has written its version into the settings yet: start it, then ask again");
  if (*written == extension)
    return Finding::ok(version,
                       (isHostRunning ? "both of build " : "of the host that ran last, as of the extension, build ") + extension);
  if (isHostRunning)
    return Finding::fault(version,
                          "the host is of build " + *written + ", the extension of " + extension + ": install both of one build");
  return Finding::unknown(version, "the host that ran last was of build " + *written + ", the extension is of " + extension +
                                       ": start a host of that build, then ask again");
}

#include "console/Finding.h"

#include <algorithm>
#include <utility>

namespace {

const char* textOf(Finding::Mark mark) {
  switch (mark) {
    case Finding::Mark::ok: return "[ok]    ";
    case Finding::Mark::fault: return "[FAULT] ";
    case Finding::Mark::unknown: break;
  }
  return "[?]     ";
}

}  // namespace

Finding Finding::ok(std::string subject, std::string text) { return {Mark::ok, std::move(subject), std::move(text)}; }
Finding Finding::fault(std::string subject, std::string text) { return {Mark::fault, std::move(subject), std::move(text)}; }
Finding Finding::unknown(std::string subject, std::string text) { return {Mark::unknown, std::move(subject), std::move(text)}; }

bool hasFault(const std::vector<Finding>& findings) {
  return std::ranges::any_of(findings, [](const Finding& finding) { return finding.mark == Finding::Mark::fault; });
}

std::string textOfFindings(const std::vector<Finding>& findings) {
  std::string text;
  for (const Finding& finding : findings) text += textOf(finding.mark) + finding.subject + ": " + finding.text + "\n";
  return text;
}

// One thing that a menu depends on, as it was found.
#pragma once

#include <string>
#include <vector>

struct Finding {
  enum class Mark { ok, fault, unknown };

  Mark mark;
  std::string subject;  ///< What was looked at, in a word or two.
  std::string text;     ///< What was found; unless it is well, also what to do.

  static Finding ok(std::string subject, std::string text);
  static Finding fault(std::string subject, std::string text);
  /// Of what cannot be seen from here.
  static Finding unknown(std::string subject, std::string text);
};

bool hasFault(const std::vector<Finding>& findings);

/// One line for each finding, a mark first.
std::string textOfFindings(const std::vector<Finding>& findings);

#pragma once

#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace tessra {

/// Something that a service does otherwise than it must.
struct ServiceFinding {
  std::string call;    ///< what was called, with what
  std::string wanted;  ///< of the answer
  std::string came;    ///< the first time
  std::string group;   ///< checks that found it first
  int times = 1;

  /// "`CALL`: wanted WANTED, came CAME".
  std::string text() const;
};

std::ostream& operator<<(std::ostream& out, const ServiceFinding& finding);

/// What checks of a service find. Repetitions are counted.
class ServiceReport {
 public:
  /// Takes a line when a group of checks begins, and for each finding and note when it is made, so that nothing is lost
  /// if a service brings the check to an end.
  using Tell = std::function<void(std::string_view line)>;

  explicit ServiceReport(Tell tell = nullptr) : tell_(std::move(tell)) {}

  /// Starts a group of checks.
  void enter(const std::string& group);
  /// Findings with the same call and the same wish are one.
  void find(const std::string& call, const std::string& wanted, const std::string& came);
  /// Something that is allowed, but that an owner should know.
  void note(const std::string& text);

  const std::vector<ServiceFinding>& findings() const { return findings_; }
  const std::vector<std::string>& notes() const { return notes_; }

 private:
  void tell(const std::string& line) const;

  Tell tell_;
  std::string group_;
  std::vector<ServiceFinding> findings_;
  std::vector<std::string> notes_;
};

}  // namespace tessra

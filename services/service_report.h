#pragma once

#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
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

/// Nothing that follows in a group of checks would mean anything.
struct GivenUp {};

/// What checks of a service find. Repetitions are counted.
class ServiceReport {
 public:
  /// Takes a line when a group of checks begins, and for each finding and note when it is made, so that nothing is lost
  /// if a service brings the check to an end.
  using Tell = std::function<void(std::string_view line)>;

  explicit ServiceReport(Tell tell = nullptr) : tell_(std::move(tell)) {}

  /// Runs a group of checks; false if they gave up.
  bool run(const std::string& group, const std::function<void()>& checks);

  /// Findings with the same call and the same wish are one.
  void find(const std::string& call, const std::string& wanted, const std::string& came);
  /// Reports what is not as it must be.
  void want(bool holds, const std::string& call, const std::string& wanted, const std::string& came);
  /// The same, and throws `GivenUp` then.
  void need(bool holds, const std::string& call, const std::string& wanted, const std::string& came);
  /// The answer of a call, which must not throw: that is a finding, and then this throws `GivenUp`.
  template <class Call>
  auto answer(const std::string& call, Call&& make) {
    if constexpr (std::is_void_v<std::invoke_result_t<Call>>) {
      attempt(call, make);
    } else {
      std::optional<std::invoke_result_t<Call>> answer;
      attempt(call, [&] { answer.emplace(make()); });
      return *std::move(answer);
    }
  }
  /// Something that is allowed, but that an owner should know.
  void note(const std::string& text);

  const std::vector<ServiceFinding>& findings() const { return findings_; }
  const std::vector<std::string>& notes() const { return notes_; }

 private:
  void attempt(const std::string& call, const std::function<void()>& make);
  void tell(const std::string& line) const;

  Tell tell_;
  std::string group_;
  std::vector<ServiceFinding> findings_;
  std::vector<std::string> notes_;
};

}  // namespace tessra

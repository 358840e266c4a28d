#include <fmt/format.h>

#include <algorithm>
#include <optional>

#include "Tessra/base/json_read.h"
#include "services/remote/wire_check_groups.h"

namespace tessra::remote {

namespace {

using grpc::StatusCode;

/// Everything that needs a scenario.
void check_not_loaded(CheckedRoom& room, const std::string& how) {
  room.refuse(StatusCode::FAILED_PRECONDITION, v1::GetSidesRequest(), how);
  room.refuse(StatusCode::FAILED_PRECONDITION, v1::GetSituationRequest(), how);
  room.refuse(StatusCode::FAILED_PRECONDITION, v1::RunCommandRequest(), how);
  room.refuse(StatusCode::FAILED_PRECONDITION, v1::ExecuteRequest(), how);
  room.refuse(StatusCode::FAILED_PRECONDITION, v1::AdvanceRequest(), how);
  room.refuse(StatusCode::FAILED_PRECONDITION, v1::EndEpisodeRequest(), how);
}

void want_next(WireCalls& calls, const CheckedRoom& room, const std::string& after) {
  const auto reply = calls.make<v1::ResumeRoomReply>(room.addressed<v1::ResumeRoomRequest>());
  calls.want(reply.next_number() == room.number(), "ResumeRoom, " + after,
             fmt::format("`next_number` {}", room.number()), std::to_string(reply.next_number()));
}

}  // namespace

std::string choose_scenario(WireCalls& calls, const std::string& wanted) {
  CheckedRoom room(calls);
  const auto names = room.call<v1::ListScenariosReply>(v1::ListScenariosRequest()).names();
  if (wanted.empty()) {
    calls.report().need(!names.empty(), "ListScenarios", "at least one name", "none");
    return names[0];
  }
  if (!names.empty() && std::ranges::find(names, wanted) == names.end()) {
    throw Error(fmt::format("no scenario '{}'; there are: {}", wanted, fmt::join(names, ", ")));
  }
  return wanted;
}

void check_states(WireCalls& calls, const std::string& scenario) {
  CheckedRoom room(calls);
  check_not_loaded(room, "in a new room");
  want_next(calls, room, "after calls that failed");
  room.call<v1::ResetRoomReply>(v1::ResetRoomRequest());
  room.load(scenario);
  room.call<v1::GetSidesReply>(v1::GetSidesRequest());
  room.load(scenario);  // again, without ResetRoom
  room.call<v1::GetSidesReply>(v1::GetSidesRequest(), "after a second LoadScenario");
  room.call<v1::ResetRoomReply>(v1::ResetRoomRequest());
  check_not_loaded(room, "after ResetRoom");

  v1::LoadScenarioRequest unknown;
  unknown.set_name("no such scenario");
  unknown.set_episode(1);
  room.load(scenario);
  const bool loaded = room.call<v1::LoadScenarioReply>(unknown, "a name that is no scenario's").loaded();
  calls.want(!loaded, "LoadScenario, a name that is no scenario's", "`loaded` false", "true");
  if (!loaded) check_not_loaded(room, "after a LoadScenario that found none");
}

namespace {

/// The time in a record, in milliseconds; none if it has none or is no record.
std::optional<std::int64_t> time_of(const v1::AdvanceReply& reply) {
  try {
    const Value record = read_json(reply.record().text());
    return record.as_dict().at_dict("ScenarioInfo").at_integer("Time");
  } catch (const Error&) {
    return std::nullopt;
  }
}

void check_wrong_number(WireCalls& calls, const CheckedRoom& room, std::uint64_t number, const std::string& how) {
  const auto request = room.numbered(v1::AdvanceRequest(), number);
  const std::string text = calls.refuse(StatusCode::OUT_OF_RANGE, request, how);
  if (text.empty()) return;
  const std::string expected = std::to_string(room.number());
  calls.want(text.find(expected) != std::string::npos, "Advance, " + how,
             "a text with the number expected, " + expected, "'" + text + "'");
}

/// Three advances, the second one sent twice: as much time must pass in the third as in the second.
void check_repeated(WireCalls& calls, CheckedRoom& room) {
  const auto first = room.call<v1::AdvanceReply>(v1::AdvanceRequest());
  const auto request = room.numbered(v1::AdvanceRequest(), room.number());
  const auto second = room.call<v1::AdvanceReply>(v1::AdvanceRequest());
  const auto again = calls.make<v1::AdvanceReply>(request, "sent again");
  calls.want(again.SerializeAsString() == second.SerializeAsString(), "Advance, sent again",
             "the reply of the first time", "another one");
  want_next(calls, room, "after a call that was sent twice");
  const auto third = room.call<v1::AdvanceReply>(v1::AdvanceRequest(), "after one that was sent twice");
  const auto start = time_of(first);
  const auto middle = time_of(second);
  const auto end = time_of(third);
  if (!start || !middle || !end) return;
  calls.want(*end - *middle == *middle - *start, "Advance, after one that was sent twice",
             fmt::format("a step of {} ms", *middle - *start), fmt::format("{} ms", *end - *middle));
}

}  // namespace

void check_numbers(WireCalls& calls, const std::string& scenario) {
  CheckedRoom room(calls);
  want_next(calls, room, "in a new room");
  room.load(scenario);
  check_repeated(calls, room);
  check_wrong_number(calls, room, room.number() + 1, "with a number left out");
  check_wrong_number(calls, room, room.number() - 2, "with the number of the last call but one");
  want_next(calls, room, "after wrong numbers");
  room.call<v1::AdvanceReply>(v1::AdvanceRequest(), "after wrong numbers");
}

}  // namespace tessra::remote

#include <fmt/format.h>

#include <vector>

#include "Tessra/base/json_fault.h"
#include "Tessra/base/json_read.h"
#include "services/remote/wire_check_groups.h"

namespace tessra::remote {

namespace {

/// What JSON the record is; none if there is no record, or none that can be read.
Value read_record(WireCalls& calls, const std::string& call, const v1::Json& record) {
  if (record.encoding() == v1::Json::ENCODING_UNSPECIFIED) {
    calls.want(record.text().empty(), call, "an `encoding` of the record", "none");
    return {};
  }
  calls.want(record.encoding() == v1::Json::ENCODING_JSON, call, "a record whose `encoding` is ENCODING_JSON",
             std::to_string(record.encoding()));
  try {
    Value value = read_json(record.text());
    require_distinct_keys(record.text(), JsonLimits().max_depth);
    calls.want(value.is_dict(), call, "a record that is a JSON object", std::string(kind_name(value.kind())));
    return value;
  } catch (const JsonError& error) {
    calls.report().find(call, "a record that is JSON as the contract has it", error.what());
    return {};
  }
}

/// The records of the beginning of an episode, as they came.
std::vector<std::string> play(WireCalls& calls, CheckedRoom& room, const std::string& scenario) {
  constexpr int kAdvances = 3;
  room.call<v1::ResetRoomReply>(v1::ResetRoomRequest());
  room.load(scenario);
  const auto situation = room.call<v1::GetSituationReply>(v1::GetSituationRequest());
  const Value initial = read_record(calls, "GetSituation", situation.record());
  calls.want(!initial.is_none(), "GetSituation", "a record", "none");
  const auto again = room.call<v1::GetSituationReply>(v1::GetSituationRequest());
  calls.want(again.record().text() == situation.record().text(), "GetSituation, twice", "the same record",
             "another one");
  std::vector<std::string> records{situation.record().text()};
  for (int i = 0; i < kAdvances; ++i) {
    const auto reply = room.call<v1::AdvanceReply>(v1::AdvanceRequest());
    read_record(calls, "Advance", reply.record());
    records.push_back(reply.record().text());
  }
  return records;
}

}  // namespace

void check_records(WireCalls& calls, const std::string& scenario) {
  CheckedRoom room(calls);
  const std::vector<std::string> records = play(calls, room, scenario);
  if (play(calls, room, scenario) == records) return;
  calls.report().note(
      "two episodes with one seed and number have different records: the simulation is not deterministic");
}

namespace {

void check_refusals(WireCalls& calls, const v1::ExecuteReply& reply, const v1::ExecuteRequest& request) {
  constexpr std::size_t kLongestExcerpt = 200 + std::string_view("…").size();
  const std::string call = "Execute, with orders that mean nothing";
  for (const v1::Refusal& refusal : reply.refused()) {
    calls.want(refusal.number() >= 1 && static_cast<int>(refusal.number()) <= request.commands_size(), call,
               "the `number` of an order of the package, from 1", std::to_string(refusal.number()));
    calls.want(!refusal.reason().empty(), call, "`reason`", "an empty text");
    calls.want(refusal.command().size() <= kLongestExcerpt, call, "at most 200 bytes of a `command`, and \"…\"",
               std::to_string(refusal.command().size()));
  }
}

}  // namespace

void check_orders(WireCalls& calls, const std::string& scenario) {
  CheckedRoom room(calls);
  room.load(scenario);
  v1::ExecuteRequest orders;
  orders.add_commands("NoSuchCommand({})");
  orders.add_commands("NoSuchCommand({NAME='" + std::string(1'000, 'x') + "'})");
  check_refusals(calls, room.call<v1::ExecuteReply>(orders, "with orders that mean nothing"), orders);
  v1::RunCommandRequest command;
  command.set_command(orders.commands(0));
  room.call<v1::RunCommandReply>(command, "with a command that means nothing");

  room.call<v1::EndEpisodeReply>(v1::EndEpisodeRequest());
  const auto reply = room.call<v1::AdvanceReply>(v1::AdvanceRequest(), "after EndEpisode");
  const Value last = read_record(calls, "Advance, after EndEpisode", reply.record());
  const bool ended = last.is_dict() && last.as_dict().get("IsEnd").is_true();
  calls.want(ended, "Advance, after EndEpisode", "a record whose `IsEnd` is true",
             last.is_dict() ? last.as_dict().get("IsEnd").to_text() : "none");
}

}  // namespace tessra::remote

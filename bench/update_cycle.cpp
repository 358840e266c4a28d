// update_cycle [--units N…] [--steps N] [--field-share S] [--no-friends] [--repeat N] [--json]
// update_cycle --record FILE [--sides FILE] [--updates FILE…] [--repeat N] [--json]
//
// Times the engine's own work per step: an update record, from its JSON bytes to the updated model. Every figure is CPU
// time, with its ratio to D, the time the DOM parser takes for the same bytes in the same process. All updates are
// played several times and the best time of each counts, which reduces the influence of other load. The model is
// verified before anything is printed.

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <fstream>
#include <iostream>
#include <iterator>
#include <limits>
#include <numeric>
#include <optional>
#include <string>
#include <vector>

#include "Tessra/base/json_read.h"
#include "Tessra/base/json_write.h"
#include "bench/host.h"
#include "bench/measure.h"
#include "bench/situations.h"
#include "tests/support/record_tree.h"

namespace tessra::bench {
namespace {

/// Seconds of each update, or of the initial record.
using Times = std::vector<double>;

double total(const Times& times) { return std::accumulate(times.begin(), times.end(), 0.0); }

/// Times per phase; memory in bytes.
struct Measures {
  Times parser, cycle;
  Times decode, share, views, merge, deletions, checks, end;
  Times initial_parser, initial_decode, initial_build;
  std::size_t live = 0, peak = 0;
};

struct Case {
  std::string name;
  std::size_t units = 0;
  Situations situations;
  bool generated = false;
};

std::size_t bytes_of(const std::vector<std::string>& texts) {
  std::size_t bytes = 0;
  for (const std::string& text : texts) bytes += text.size();
  return bytes;
}

void require(bool holds, std::string_view what) {
  if (!holds) throw Error(fmt::format("wrong result: {}", what));
}

/// Verifies that the model after the last update is what the generator expects.
void check_model(Deduction& engine, const Situations& situations) {
  const std::size_t others = engine.players.size() + 1;  // the sides and the scenario
  require(engine.elements.size() == situations.elements + others, "number of elements");
  for (const auto& [id, lon] : situations.longitudes) {
    require(engine.elements.at(id)->get_attribute("Lon") == Value(lon), "place of unit " + id);
  }
  for (const auto& [side, contacts] : situations.own_contacts) {
    const Dict held = engine.players.at(side)->get_dict("Contacts");
    for (const std::string& id : contacts) require(held.contains(id), fmt::format("contact {} of {}", id, side));
    require(held.size() >= contacts.size(), "number of contacts");
  }
}

/// A separate, untimed run. Measuring the peak requires returning free memory to the system; the page faults on
/// touching it again would distort timings.
void play_for_memory(const Case& played, Measures& measures) {
  read_json(played.situations.initial);  // warms the reader, whose buffers are not part of the model
  reset_peak();
  const std::size_t before = live_bytes();
  Host host(played.situations.sides);
  host.build(read_json(played.situations.initial));
  measures.live = live_bytes() - before;
  JsonReader reader;
  for (const std::string& text : played.situations.updates) {
    host.engine().process_step_situation(reader.read(text));
  }
  measures.peak = peak_bytes();
}

void play_whole_cycles(const Case& played, JsonReader& reader, Measures& measures) {
  const Situations& situations = played.situations;
  Host host(situations.sides);
  Value initial;
  measures.initial_decode = {timed([&] { initial = reader.read(situations.initial); })};
  measures.initial_build = {timed([&] { host.build(std::move(initial)); })};
  for (const std::string& text : situations.updates) {
    measures.cycle.push_back(timed([&] { host.engine().process_step_situation(reader.read(text)); }));
  }
  if (played.generated) check_model(host.engine(), situations);
}

/// Joins the views of all sides, as the merge does.
void join_views(Deduction& engine, const Dict& record) {
  const Dict* situation = record.find_dict("Situation");
  const Dict* sides = situation != nullptr ? situation->find_dict("SituationSides") : nullptr;
  if (sides == nullptr) return;
  for (auto [id, side] : *sides) {
    const std::string name = engine.side_id2name.get(id).to_text();
    const auto* player = engine.players.find(name);
    if (player == nullptr) continue;
    const Dict contacts = (*player)->get_dict("Contacts");
    engine.get_side_update_situation(name, side.as_dict(), &contacts);
  }
}

void check(Deduction& engine) {
  engine.update_simulate_info();
  for (const auto& [side, player] : engine.players) player->update_units_of_names();
  engine.check_situation();
}

/// Times each phase separately, on a second engine that plays the same updates.
void play_phases(const Case& played, JsonReader& reader, Measures& measures) {
  Host host(played.situations.sides);
  host.build(reader.read(played.situations.initial));
  Deduction& engine = host.engine();
  for (const std::string& text : played.situations.updates) {
    Dict record;
    Dict share;
    measures.decode.push_back(timed([&] { record = reader.read(text).as_dict(); }));
    measures.share.push_back(timed([&] { share = Deduction::deletion_share(record); }));

    Value stripped = reader.read(text);
    testing::strip_deletions(stripped);
    Value again = reader.read(text);
    testing::strip_deletions(again);
    const double views = timed([&] { join_views(engine, again.as_dict()); });
    double share_of_nothing = 0;
    {
      Dict dropped;
      share_of_nothing = timed([&] { dropped = Deduction::deletion_share(stripped.as_dict()); });
    }
    const double whole = timed([&] { engine.parse_update_situation(stripped); });
    measures.views.push_back(views);
    measures.merge.push_back(whole - views - share_of_nothing);
    measures.deletions.push_back(timed([&] { engine.parse_delete_situation(share); }));
    measures.checks.push_back(timed([&] { check(engine); }));
    measures.end.push_back(timed([&] { stripped = Value(); }));
  }
  if (played.generated) check_model(engine, played.situations);
}

void keep_best(Measures& best, const Measures& fresh) {
  for (Times Measures::*phase :
       {&Measures::parser, &Measures::cycle, &Measures::decode, &Measures::share, &Measures::views, &Measures::merge,
        &Measures::deletions, &Measures::checks, &Measures::end, &Measures::initial_parser, &Measures::initial_decode,
        &Measures::initial_build}) {
    std::ranges::transform(best.*phase, fresh.*phase, (best.*phase).begin(),
                           [](double a, double b) { return std::min(a, b); });
  }
}

Measures measure(const Case& played, int repeat) {
  Measures memory;
  play_for_memory(played, memory);
  std::optional<Measures> best;
  JsonReader reader;  // shared by all runs, as a service client uses one for all episodes
  for (int round = 0; round < repeat; ++round) {
    Measures fresh = memory;
    fresh.parser = parser_seconds(played.situations.updates, 3);
    fresh.initial_parser = parser_seconds({&played.situations.initial, 1}, 3);
    play_whole_cycles(played, reader, fresh);
    play_phases(played, reader, fresh);
    if (!best) best = fresh;
    keep_best(*best, fresh);
  }
  return *best;
}

/// Short runs are more easily disturbed, so they are repeated more often.
int usual_repeat(const Case& played) { return bytes_of(played.situations.updates) < (std::size_t{1} << 24) ? 10 : 3; }

// ---- The table ----------------------------------------------------------------------------------------------------

struct Row {
  std::string_view phase;
  Times Measures::*seconds;
  Times Measures::*bound;
};

constexpr Row kRows[] = {
    {"decode", &Measures::decode, &Measures::parser},
    {"share for deletions", &Measures::share, &Measures::parser},
    {"views", &Measures::views, &Measures::parser},
    {"merge", &Measures::merge, &Measures::parser},
    {"deletions", &Measures::deletions, &Measures::parser},
    {"checks, names, clock", &Measures::checks, &Measures::parser},
    {"end of the record", &Measures::end, &Measures::parser},
    {"whole cycle", &Measures::cycle, &Measures::parser},
    {"initial decode", &Measures::initial_decode, &Measures::initial_parser},
    {"initial build", &Measures::initial_build, &Measures::initial_parser},
};

double ratio(const Row& row, const Measures& measures) {
  return total(measures.*row.seconds) / total(measures.*row.bound);
}

void print_case(const Case& played, const Measures& measures, const Measures* smaller) {
  const Situations& situations = played.situations;
  const double updates = static_cast<double>(std::max<std::size_t>(1, situations.updates.size()));
  const double bytes = static_cast<double>(bytes_of(situations.updates)) / updates;
  fmt::print("{}: initial record {} bytes, {} updates of {:.0f} bytes; D = {:.4f} ms, initial {:.3f} ms\n", played.name,
             situations.initial.size(), situations.updates.size(), bytes, 1e3 * total(measures.parser) / updates,
             1e3 * total(measures.initial_parser));
  fmt::print("  {:<22}{:>12}{:>9}{:>9}\n", "phase", "ms", "D", "growth");
  for (const Row& row : kRows) {
    const bool per_update = row.bound == &Measures::parser;
    if (per_update && situations.updates.empty()) continue;
    const double milliseconds = 1e3 * total(measures.*row.seconds) / (per_update ? updates : 1);
    fmt::print("  {:<22}{:>12.4f}{:>9.2f}", row.phase, milliseconds, ratio(row, measures));
    if (smaller != nullptr) fmt::print("{:>9.2f}", ratio(row, measures) / ratio(row, *smaller));
    fmt::print("\n");
  }
  const auto initial_bytes = static_cast<double>(situations.initial.size());
  fmt::print("  model {:.1f} MB", 1e-6 * static_cast<double>(measures.live));
  if (played.units > 0) fmt::print(", {} bytes per unit", measures.live / played.units);
  fmt::print(", {:.2f} times the initial record; peak {:.1f} MB\n\n",
             static_cast<double>(measures.live) / initial_bytes, 1e-6 * static_cast<double>(measures.peak));
}

Dict as_dict(const Case& played, const Measures& measures) {
  Dict phases;
  for (const Row& row : kRows) {
    phases.set(row.phase, Dict{{"seconds", total(measures.*row.seconds)}, {"ratio", ratio(row, measures)}});
  }
  return {{"case", played.name},
          {"updates", played.situations.updates.size()},
          {"update_bytes", bytes_of(played.situations.updates)},
          {"initial_bytes", played.situations.initial.size()},
          {"phases", phases},
          {"live_bytes", measures.live},
          {"peak_bytes", measures.peak}};
}

// ---- Arguments ----------------------------------------------------------------------------------------------------

struct Arguments {
  std::vector<int> units{1000, 10'000, 100'000};
  int steps = 0;
  double field_share = SituationOptions().field_share;
  bool no_friends = false;
  int repeat = 0;  // 0: depends on the size
  std::string record, sides;
  std::vector<std::string> update_files;
  bool json = false;
};

std::string text_of(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file.is_open()) throw Error("cannot read " + path);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The sides in a record, without friends.
Dict sides_of(const std::string& text) {
  const Value record = read_json(text);
  Dict sides;
  for (auto [id, side] : record.as_dict().at_dict("ScenarioInfo").at_dict("SideInfo")) {
    sides.set(id, Dict{{"Name", side.as_dict().at("Name")}, {"Friend", List()}});
  }
  return sides;
}

Case recorded_case(const Arguments& arguments) {
  Case played{arguments.record, 0, {}, false};
  played.situations.initial = text_of(arguments.record);
  played.situations.sides =
      arguments.sides.empty() ? sides_of(played.situations.initial) : read_json_file(arguments.sides).as_dict();
  for (const std::string& path : arguments.update_files) played.situations.updates.push_back(text_of(path));
  return played;
}

Case generated_case(const Arguments& arguments, int units) {
  const int usual = std::clamp(100'000 / units, 5, 100);
  const SituationOptions options{.units = units,
                                 .updates = arguments.steps > 0 ? arguments.steps : usual,
                                 .field_share = arguments.field_share,
                                 .friends = !arguments.no_friends};
  return {fmt::format("{} units", units), static_cast<std::size_t>(units), make_situations(options), true};
}

void run(const Arguments& arguments) {
  List report;
  std::optional<Measures> smaller;
  const auto play = [&](const Case& played) {
    const Measures measures = measure(played, arguments.repeat > 0 ? arguments.repeat : usual_repeat(played));
    if (arguments.json) {
      report.push_back(as_dict(played, measures));
    } else {
      print_case(played, measures, smaller ? &*smaller : nullptr);
    }
    smaller = measures;
  };
  if (!arguments.record.empty()) {
    play(recorded_case(arguments));
  } else {
    for (const int units : arguments.units) play(generated_case(arguments, units));
  }
  if (arguments.json) std::cout << write_json(report, JsonStyle::pretty) << '\n';
}

}  // namespace
}  // namespace tessra::bench

int main(int argc, char** argv) {
  tessra::bench::Arguments arguments;
  CLI::App app("Times the engine's own work per step, from JSON bytes to the merged model.", "update_cycle");
  app.add_option("--units", arguments.units, "Sizes of the generated situations")->check(CLI::Range(30, 1'000'000));
  app.add_option("--steps", arguments.steps, "Updates per generated situation");
  app.add_option("--field-share", arguments.field_share, "Fraction of its fields that a changed unit carries")
      ->check(CLI::Range(0.0, 1.0));
  app.add_flag("--no-friends", arguments.no_friends, "Generate sides without friends");
  app.add_option("--repeat", arguments.repeat, "Number of repetitions, of which the best time of each update counts")
      ->check(CLI::PositiveNumber);
  auto* record = app.add_option("--record", arguments.record, "An initial record instead of generated situations");
  app.add_option("--sides", arguments.sides, "Its sides: side id → Name and Friend; default: those in the record")
      ->needs(record);
  app.add_option("--updates", arguments.update_files, "The updates that follow the record, in order")->needs(record);
  app.add_flag("--json", arguments.json, "Print JSON instead of tables");
  CLI11_PARSE(app, argc, argv);
  try {
    tessra::bench::run(arguments);
  } catch (const std::exception& error) {
    std::cerr << "update_cycle: " << error.what() << '\n';
    return 1;
  }
  return 0;
}

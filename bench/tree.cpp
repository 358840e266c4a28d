// Microbenchmarks of the value tree. Each verifies its result before it is timed.

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "Tessra/base/json_read.h"
#include "Tessra/base/json_write.h"
#include "Tessra/entitys/commonfunction.h"
#include "bench/situations.h"

namespace tessra::bench {
namespace {

const Situations& situations() {
  static const Situations made = make_situations({.units = 300, .updates = 20});
  return made;
}

void check(benchmark::State& state, bool holds) {
  if (!holds) state.SkipWithError("wrong result");
}

// The loop variable of the benchmark library is never read.
// NOLINTBEGIN(clang-analyzer-deadcode.DeadStores)

void read_record(benchmark::State& state) {
  const std::string& text = situations().updates.front();
  JsonReader reader;
  check(state, write_json(reader.read(text)) == text);
  for (auto _ : state) benchmark::DoNotOptimize(reader.read(text));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(read_record);

void write_record(benchmark::State& state) {
  const std::string& text = situations().updates.front();
  const Value record = read_json(text);
  check(state, write_json(record) == text);
  for (auto _ : state) benchmark::DoNotOptimize(write_json(record));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(write_record);

void copy_deeply(benchmark::State& state) {
  const Value record = read_json(situations().initial);
  check(state, record.deep_copy() == record);
  for (auto _ : state) benchmark::DoNotOptimize(record.deep_copy());
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(situations().initial.size()));
}
BENCHMARK(copy_deeply);

/// Merges all updates repeatedly into one tree, which soon holds all of their entries.
void merge_updates(benchmark::State& state) {
  std::vector<Dict> updates;
  for (const std::string& text : situations().updates) updates.push_back(read_json(text).as_dict());
  Dict merged = updates.back().deep_copy();
  const auto merge_all = [&] {
    for (const Dict& update : updates) cf::update_dict(merged, update.deep_copy());
  };
  merge_all();
  check(state, merged.at("ScenarioInfo") == updates.back().at("ScenarioInfo") && merged.size() == 3);
  for (auto _ : state) merge_all();
}
BENCHMARK(merge_updates);

std::vector<std::string> ids(std::int64_t count) {
  std::vector<std::string> made;
  for (std::int64_t i = 0; i < count; ++i) made.push_back("unit-" + std::to_string(7919 * i));
  return made;
}

void find_ids(benchmark::State& state) {
  const auto keys = ids(state.range(0));
  Dict table;
  for (std::size_t i = 0; i < keys.size(); ++i) table.set(keys[i], i);
  check(state, table.at_integer(keys.back()) == state.range(0) - 1 && !table.contains("unit"));
  for (auto _ : state) {
    for (const std::string& key : keys) benchmark::DoNotOptimize(table.find(key));
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(find_ids)->Range(4, 1 << 15);

void add_and_erase_first(benchmark::State& state) {
  const auto keys = ids(state.range(0));
  Dict table;
  const auto fill_and_empty = [&] {
    for (const std::string& key : keys) table.set(key, 1);
    const bool filled = table.size() == keys.size();
    while (!table.empty()) table.erase(Value((*table.begin()).key));
    return filled;
  };
  check(state, fill_and_empty());
  for (auto _ : state) benchmark::DoNotOptimize(fill_and_empty());
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(add_and_erase_first)->Range(4, 1 << 12);

// NOLINTEND(clang-analyzer-deadcode.DeadStores)

}  // namespace
}  // namespace tessra::bench

BENCHMARK_MAIN();

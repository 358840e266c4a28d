// count_cycle UNITS UPDATES nothing|parser|decode|cycle|bytes: one pass over the updates of a generated situation, for
// bench/instructions. "nothing" does all the work around the updates; "bytes" prints their size.

#include <fmt/format.h>

#include <iostream>
#include <string_view>

#include "Tessra/base/json_read.h"
#include "bench/host.h"
#include "bench/measure.h"
#include "bench/situations.h"

namespace tessra::bench {
namespace {

void count(const SituationOptions& options, std::string_view work) {
  const Situations situations = make_situations(options);
  if (work == "bytes") {
    std::size_t bytes = 0;
    for (const std::string& text : situations.updates) bytes += text.size();
    fmt::print("{}\n", bytes);
    return;
  }
  Host host(situations.sides);
  host.build(read_json(situations.initial));
  if (work == "parser") parser_seconds(situations.updates, 0);
  JsonReader reader;
  for (const std::string& text : situations.updates) {
    if (work == "decode") reader.read(text);
    if (work == "cycle") host.engine().process_step_situation(reader.read(text));
  }
}

}  // namespace
}  // namespace tessra::bench

int main(int argc, char** argv) {
  if (argc != 4) {
    std::cerr << "usage: count_cycle UNITS UPDATES nothing|parser|decode|cycle|bytes\n";
    return 2;
  }
  tessra::bench::count({.units = std::stoi(argv[1]), .updates = std::stoi(argv[2])}, argv[3]);
  return 0;
}

// make_records DIR SEED UPDATES [UNITS]: writes a generated episode, to be replayed here or by a model of its own.
// SEED may end in "c" for a clean episode, which raises no error message.

#include <iostream>
#include <string>

#include "Tessra/base/error.h"
#include "tests/support/situation_generator.h"

int main(int argc, char** argv) {
  if (argc < 4 || argc > 5) {
    std::cerr << "usage: make_records DIR SEED[c] UPDATES [UNITS]\n";
    return 2;
  }
  try {
    const std::string seed = argv[2];
    tessra::testing::GeneratorOptions options;
    options.seed = std::stoull(seed);
    options.gaps = !seed.ends_with('c');
    if (argc == 5) options.units_per_side = std::stoi(argv[4]);
    tessra::testing::write_episode(tessra::testing::generate_episode(options, std::stoi(argv[3])), argv[1]);
  } catch (const std::exception& error) {
    std::cerr << "make_records: " << error.what() << '\n';
    return 1;
  }
  return 0;
}

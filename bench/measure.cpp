#include "bench/measure.h"

#include <malloc.h>
#include <simdjson.h>

#include <algorithm>
#include <ctime>
#include <fstream>
#include <limits>
#include <stdexcept>
#include <vector>

#include "Tessra/base/pool.h"

namespace tessra::bench {

double thread_seconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

std::size_t live_bytes() {
  const auto info = mallinfo2();
  return info.uordblks + info.hblkhd + Pool::used_bytes();
}

std::size_t peak_bytes() {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    if (word != "VmHWM:") continue;
    std::size_t kilobytes = 0;
    status >> kilobytes;
    return 1024 * kilobytes;
  }
  return 0;
}

void reset_peak() {
  malloc_trim(0);  // free memory that is still resident would count toward the next peak
  std::ofstream("/proc/self/clear_refs") << '5';
}

std::vector<double> parser_seconds(std::span<const std::string> texts, int rounds) {
  std::vector<simdjson::padded_string> padded(texts.begin(), texts.end());
  simdjson::dom::parser parser;
  const auto parse = [&parser](const simdjson::padded_string& text) {
    if (parser.parse(text).error() != simdjson::SUCCESS) throw std::runtime_error("the text for the bound is not JSON");
  };
  std::for_each(padded.begin(), padded.end(), parse);  // warm
  std::vector<double> best(padded.size(), std::numeric_limits<double>::infinity());
  for (int round = 0; round < rounds; ++round) {
    for (std::size_t at = 0; at < padded.size(); ++at) best[at] = std::min(best[at], timed([&] { parse(padded[at]); }));
  }
  return best;
}

}  // namespace tessra::bench

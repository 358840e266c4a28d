#pragma once

// Measurements for the benchmarks: CPU time, memory in use, and the parser's time as a lower bound.

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace tessra::bench {

/// CPU time of this thread in seconds, so that other programs on the machine do not count.
double thread_seconds();

/// Bytes allocated and not yet freed.
std::size_t live_bytes();

/// Peak memory of the process since `reset_peak`, in bytes; 0 if the system does not report it.
std::size_t peak_bytes();
void reset_peak();

/// The bound: seconds the DOM parser takes for each of these texts, with warm buffers; the best of `rounds` passes over
/// all texts.
std::vector<double> parser_seconds(std::span<const std::string> texts, int rounds);

/// CPU time of `work`, in seconds.
template <class Work>
double timed(Work&& work) {
  const double start = thread_seconds();
  work();
  return thread_seconds() - start;
}

}  // namespace tessra::bench

#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

/// Aborts with the reason when a promise is broken; the fuzzer keeps the input.
inline void require(bool kept, const std::string& promise) {
  if (kept) return;
  std::fprintf(stderr, "broken promise: %s\n", promise.c_str());
  std::abort();
}

#pragma once

// Correspondence between the keys of two shapes. Part of value.h; include that instead.

#include <cstdint>
#include <vector>

#include "Tessra/base/key_set.h"

namespace tessra {

/// Maps the places of keys from one shape to another. Records with the same fields are merged into dictionaries with
/// the same fields again and again, so each thread caches the recent pairs. Any call of `of` may replace a cached
/// match: after running foreign code, including the destruction of a value, check `is_of` before using the match again.
class KeyMatch {
 public:
  /// The places of one key in both shapes.
  struct Pair {
    std::uint32_t held, fresh;
  };

  /// Null unless both are shapes.
  static const KeyMatch* of(const KeySet* held, const KeySet* fresh) {
    return held->is_shape() && fresh->is_shape() ? &of_shapes(held, fresh) : nullptr;
  }

  bool is_of(const KeySet* held, const KeySet* fresh) const { return held == held_ && fresh == fresh_; }
  /// Place in `held` of the key at this place of `fresh`, or `KeySet::kNowhere`.
  std::uint32_t place(std::size_t at) const { return places_[at]; }
  /// The keys that both shapes have.
  const std::vector<Pair>& common() const { return common_; }
  /// The shape with the held keys followed by the new fresh ones; null when there is none.
  const KeySet* joined() const;

 private:
  static const KeyMatch& of_shapes(const KeySet* held, const KeySet* fresh);
  /// Creates the thread's cache.
  static KeyMatch* remember();
  void find_places(const KeySet* held, const KeySet* fresh);

  static constexpr std::size_t kRemembered = 1024;
  // Pointer to the thread's cache. It is read very often; with this TLS model no function call is needed.
  [[gnu::tls_model("initial-exec")]] static thread_local constinit KeyMatch* remembered_;

  const KeySet* held_ = nullptr;
  const KeySet* fresh_ = nullptr;
  std::vector<std::uint32_t> places_;
  std::vector<Pair> common_;
  mutable const KeySet* joined_ = nullptr;
  mutable bool is_joined_ = false;  // `joined_` was computed, even if it is null
};

}  // namespace tessra

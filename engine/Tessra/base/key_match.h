#pragma once

// How the keys of two shapes stand to each other. Part of value.h, which is what others include.

#include <cstdint>
#include <vector>

#include "Tessra/base/key_set.h"

namespace tessra {

/// Where the keys of one shape stand in another. Records of the same fields are merged into dictionaries of the same
/// fields again and again, so each thread remembers the pairs it met lately. What is remembered of a pair gives way to
/// another one at any time that the thread asks for others: who runs foreign code between two questions, the end of a
/// value included, asks `is_of` before the second.
class KeyMatch {
 public:
  /// Where one key stands in both.
  struct Pair {
    std::uint32_t held, fresh;
  };

  /// Null unless both are shapes.
  static const KeyMatch* of(const KeySet* held, const KeySet* fresh) {
    return held->is_shape() && fresh->is_shape() ? &of_shapes(held, fresh) : nullptr;
  }

  bool is_of(const KeySet* held, const KeySet* fresh) const { return held == held_ && fresh == fresh_; }
  /// Where the key at this place of `fresh` stands in `held`, or `KeySet::kNowhere`.
  std::uint32_t place(std::size_t at) const { return places_[at]; }
  /// The keys that both have.
  const std::vector<Pair>& common() const { return common_; }
  /// The shape of the keys that are held followed by those that are fresh; null when there is none.
  const KeySet* joined() const;

 private:
  static const KeyMatch& of_shapes(const KeySet* held, const KeySet* fresh);
  /// Makes the thread's table.
  static KeyMatch* remember();
  void find_places(const KeySet* held, const KeySet* fresh);

  static constexpr std::size_t kRemembered = 1024;
  // A pointer to the thread's table, which is asked for very often: reached without a call.
  [[gnu::tls_model("initial-exec")]] static thread_local constinit KeyMatch* remembered_;

  const KeySet* held_ = nullptr;
  const KeySet* fresh_ = nullptr;
  std::vector<std::uint32_t> places_;
  std::vector<Pair> common_;
  mutable const KeySet* joined_ = nullptr;
  mutable bool is_joined_ = false;  // or was tried
};

}  // namespace tessra

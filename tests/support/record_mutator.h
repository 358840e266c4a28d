#pragma once

// Damage to service records: one place at a time gets what does not belong there.

#include <functional>
#include <string>

#include "Tessra/base/value.h"

namespace tessra::testing {

class RecordMutator {
 public:
  /// `below(end)` chooses a number from 0 up to, not including, `end`: by chance, or as instructions say.
  explicit RecordMutator(std::function<int(int)> below) : below_(std::move(below)) {}

  /// Changes the record at one place. Returns the place and the change, for messages.
  std::string mutate(Dict record) const;

 private:
  std::string mutate_entry(Dict& dict, const Value& key, const Dict& record) const;
  std::string mutate_item(List& list, std::size_t index) const;
  Value odd_value() const;
  Value key_of(const Dict& dict) const;
  /// A copy of what stands at some other place of the record.
  Value taken_from(const Dict& record) const;

  std::function<int(int)> below_;
};

}  // namespace tessra::testing

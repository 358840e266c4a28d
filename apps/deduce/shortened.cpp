#include "apps/deduce/shortened.h"

namespace tessra::app {

std::string shortened(std::string text, std::size_t most) {
  if (text.size() <= most) return text;
  while (most > 0 && (static_cast<unsigned char>(text[most]) & 0xC0) == 0x80) --most;
  text.resize(most);
  return text + "…";
}

}  // namespace tessra::app

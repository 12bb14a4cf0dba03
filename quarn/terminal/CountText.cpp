#include "quarn/terminal/CountText.h"

namespace quarn {

std::string countText(std::uint64_t count, std::string_view thing) {
  return std::to_string(count) + " " + std::string(thing) + (count == 1 ? "" : "s");
}

}  // namespace quarn

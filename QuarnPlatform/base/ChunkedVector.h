#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace quarn {

/// A vector that grows by chunks of equal size. It never copies its elements, so growing takes no memory beyond one
/// chunk, and references stay valid. Elements must be default-constructible.
template <class T, std::size_t chunkSize = 4096>
class ChunkedVector {
  static_assert((chunkSize & (chunkSize - 1)) == 0, "a power of two");

 public:
  void push_back(T value) {
    if (size_ == chunks_.size() * chunkSize) chunks_.push_back(std::make_unique<std::array<T, chunkSize>>());
    (*this)[size_++] = std::move(value);
  }
  [[nodiscard]] T& operator[](std::size_t position) { return (*chunks_[position / chunkSize])[position % chunkSize]; }
  [[nodiscard]] const T& operator[](std::size_t position) const {
    return (*chunks_[position / chunkSize])[position % chunkSize];
  }
  [[nodiscard]] std::size_t size() const { return size_; }

 private:
  std::vector<std::unique_ptr<std::array<T, chunkSize>>> chunks_;
  std::size_t size_ = 0;
};

}  // namespace quarn

/// Memory whose neighbour bytes cannot be touched: a read or write one byte outside stops the test.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace kit {

/// Which end of the block touches an inaccessible page; the other end is followed by less than a
/// page of slack.
enum class guard_side { before, behind };

/// A block of exactly `size` bytes between two inaccessible pages.
class guarded_buffer {
 public:
  explicit guarded_buffer(size_t size, guard_side side = guard_side::behind);
  ~guarded_buffer();
  guarded_buffer(guarded_buffer&& other) noexcept;
  guarded_buffer(const guarded_buffer&) = delete;
  guarded_buffer& operator=(const guarded_buffer&) = delete;

  uint8_t* data() { return data_; }
  const uint8_t* data() const { return data_; }
  size_t size() const { return size_; }

 private:
  void* mapping_ = nullptr;
  size_t mapping_size_ = 0;
  uint8_t* data_ = nullptr;
  size_t size_ = 0;
};

/// `count` elements of `T` between two inaccessible pages.
template <typename T>
class guarded_array {
 public:
  explicit guarded_array(size_t count, guard_side side = guard_side::behind)
      : buffer_(count * sizeof(T), side) {}

  T* data() { return reinterpret_cast<T*>(buffer_.data()); }
  const T* data() const { return reinterpret_cast<const T*>(buffer_.data()); }
  size_t size() const { return buffer_.size() / sizeof(T); }
  T* begin() { return data(); }
  T* end() { return data() + size(); }
  const T* begin() const { return data(); }
  const T* end() const { return data() + size(); }
  T& operator[](size_t i) { return data()[i]; }
  const T& operator[](size_t i) const { return data()[i]; }

 private:
  guarded_buffer buffer_;
};

}  // namespace kit

/// Ownership of C-heap memory. Everything the library hands out is released with `free`, and
/// nothing in it throws, so failure is null. Memory is zeroed, but for what is written whole before
/// it is read.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace qo {

struct c_free {
  void operator()(void* block) const { free(block); }
};

/// Move-only owner of one C-heap object, or of an array when `T` is an array type.
template <typename T>
using heap_ptr = std::unique_ptr<T, c_free>;
template <typename T>
using heap_array = std::unique_ptr<T[], c_free>;

/// `count` zeroed elements of `size` bytes, or null when the allocation fails (a product that
/// overflows included). Many C libraries keep small blocks that were released at hand for malloc,
/// where calloc does not look: what is small is cleared here.
[[nodiscard, gnu::noinline]] inline void* c_zeroed(size_t count, size_t size) {
  constexpr size_t small = 1024;
  size_t bytes;
  if (__builtin_mul_overflow(count, size, &bytes) || bytes > small) return calloc(count, size);
  void* const block = malloc(bytes);
  asm("" : "+r"(bytes));  // compilers that know it for the block's size make a calloc of the two
  if (block != nullptr) memset(block, 0, bytes);
  return block;
}

/// `count` zeroed elements, or null. No elements still ask for one, so that null always means
/// failure.
template <typename T>
[[nodiscard]] T* c_new_array(size_t count) {
  return static_cast<T*>(c_zeroed(count != 0 ? count : 1, sizeof(T)));
}

/// One zeroed object, or null.
template <typename T>
[[nodiscard]] T* c_new() {
  return c_new_array<T>(1);
}

/// `count` elements that the caller writes before they are read, or null. No elements still make a
/// block of one, which is zeroed, since nobody writes it.
template <typename T>
[[nodiscard]] T* c_new_array_to_fill(size_t count) {
  if (count == 0) return c_new<T>();
  size_t size;
  if (__builtin_mul_overflow(count, sizeof(T), &size)) return nullptr;
  return static_cast<T*>(malloc(size));
}

/// A copy of `count` elements at `source`, of any alignment, or null. Every byte is written, so it
/// is not zeroed first. No elements still make a block of one.
template <typename T>
[[nodiscard]] T* c_copy_array(const void* source, size_t count) {
  if (count == 0) return c_new<T>();
  size_t size;
  if (__builtin_mul_overflow(count, sizeof(T), &size)) return nullptr;
  T* const copy = static_cast<T*>(malloc(size));
  if (copy != nullptr) memcpy(copy, source, size);
  return copy;
}

/// Releases what a C structure's member owns and empties the member.
template <typename T>
void c_release(T*& owned) {
  if (owned == nullptr) return;
  free(owned);
  owned = nullptr;
}

/// Wraps a C function that releases a `T` and everything it owns as the deleter of a `unique_ptr`.
template <auto Release>
struct deleter {
  template <typename T>
  void operator()(T* object) const {
    Release(object);
  }
};

}  // namespace qo

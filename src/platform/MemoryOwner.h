// Owners of the library's memory: what MMemAlloc gave is freed when its owner goes. No memory is an empty
// owner.
#ifndef QUORV_SRC_PLATFORM_MEMORYOWNER_H
#define QUORV_SRC_PLATFORM_MEMORYOWNER_H

#include <quorv/platform/memory.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <algorithm>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace quorv {

template <typename T>
struct FreeOwned {
    void operator()(T *object) const {
        object->~T();
        MMemFree(nullptr, object);
    }
};

template <typename T>
struct FreeOwned<T[]> {
    static_assert(std::is_trivially_copyable_v<T>,
                  "the elements of an array are moved as bytes and not destroyed");
    void operator()(T *elements) const { MMemFree(nullptr, elements); }
};

// The owner of one object, Owned<T>, or of an array of plain elements, Owned<T[]>. A handle that a caller
// gives back is adopted by Owned<T>(handle), one that a caller is given leaves with release().
template <typename T>
using Owned = std::unique_ptr<T, FreeOwned<T>>;

// A new object, made in its place of these arguments; without any, a plain record is all zero.
template <typename T, typename... Arguments>
[[nodiscard]] Owned<T> make_owned(Arguments &&...arguments) {
    static_assert(alignof(T) <= alignof(max_align_t));
    void *place = MMemAlloc(nullptr, sizeof(T));
    if (place == nullptr) return nullptr;
    return Owned<T>(new (place) T{std::forward<Arguments>(arguments)...});
}

// A new object that is all zero, with this many bytes behind it that are zero, too.
template <typename T>
[[nodiscard]] Owned<T> make_owned_with_tail(uint64_t bytes) {
    static_assert(alignof(T) <= alignof(max_align_t));
    if (bytes > PTRDIFF_MAX - sizeof(T)) return nullptr;
    const size_t size = sizeof(T) + static_cast<size_t>(bytes);
    void *place = MMemAlloc(nullptr, size);
    if (place == nullptr) return nullptr;
    memset(place, 0, size);
    return Owned<T>(new (place) T{});
}

// Gives an array, empty or not, `count` elements: the first ones stay, further ones are not initialised.
// False, with the array as it was, when there is no memory. An array of no elements owns memory, too.
template <typename T>
[[nodiscard]] bool resize_array(Owned<T[]> *array, uint64_t count) {
    static_assert(alignof(T) <= alignof(max_align_t));
    if (count > PTRDIFF_MAX / sizeof(T)) return false;
    const size_t bytes = std::max(static_cast<size_t>(count) * sizeof(T), size_t{1});
    void *elements = MMemRealloc(nullptr, array->get(), bytes);
    if (elements == nullptr) return false;
    static_cast<void>(array->release());  // freed or handed on by then
    array->reset(static_cast<T *>(elements));
    return true;
}

// A new array; its elements are not initialised.
template <typename T>
[[nodiscard]] Owned<T[]> make_array(uint64_t count) {
    Owned<T[]> array;
    if (!resize_array(&array, count)) return nullptr;
    return array;
}

}  // namespace quorv

#endif

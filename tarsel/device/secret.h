#pragma once
// A value that holds secret bytes (a password, an OTP, a login record carrying them) and is
// overwritten with zeros when it goes out of scope, on every path out of the function.

#include <string.h>  // explicit_bzero: a wipe the compiler may not drop

#include <type_traits>

// Overwrites `length` bytes at `data` with zeros.
inline void WipeSecret(void *data, size_t length) {
    explicit_bzero(data, length);
}

// REQUIRES: T is trivially copyable (plain records and arrays).
template <typename T>
struct Secret {
    static_assert(std::is_trivially_copyable_v<T>);

    T value{};

    Secret() = default;
    ~Secret() { WipeSecret(&value, sizeof value); }
    Secret(const Secret &) = delete;
    Secret &operator=(const Secret &) = delete;
};

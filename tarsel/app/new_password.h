#pragma once
// Asking for a new password twice, with echo off.

#include <cstddef>
#include <cstdint>

inline constexpr uint32_t kNewPasswordOk = 0;
inline constexpr uint32_t kNewPasswordCancelled = 1;
inline constexpr uint32_t kNewPasswordDiffers = 3;

// Prints `prompt` and reads a masked password, again while it is shorter than minChars;
// then `confirmPrompt` and the confirmation. ENTER on the first entry cancels (1, nothing
// printed); a different confirmation prints "Password differs from confirmation!" (3).
// On 0 the password is in `password` (at most capacity - 1 characters, terminated).
// The caller wipes `password`; the confirmation is wiped here.
uint32_t ReadNewPassword(const char *prompt, const char *confirmPrompt, size_t minChars,
                         char *password, size_t capacity);

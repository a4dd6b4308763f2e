#pragma once
// Small dialogues shared by the user actions.

#include <cstddef>
#include <cstdint>

// A user id holds at most 16 characters; buffers carry one more byte for the terminator.
inline constexpr size_t kUserIdChars = 16;
inline constexpr size_t kUserIdBuffer = kUserIdChars + 1;
inline constexpr size_t kPasswordChars = 16;
inline constexpr size_t kPasswordBuffer = kPasswordChars + 1;
inline constexpr size_t kMinPasswordChars = 6;

// Asks "User ID: " into a zeroed buffer of kUserIdBuffer bytes. Returns false, after
// printing "Operation cancelled!" or "Invalid string length.", when no id was given.
bool ReadUserId(char *userId);

// "\n\n<subject> '<userId>' <words>\n" on standard error: the success line of every action
// that names a user.
void PrintUserResult(const char *subject, const char *userId, const char *words);

// "\n<text>\n" on standard error: a refusal that is not a library failure.
void PrintRefusal(const char *text);

// Prints "Option : " and reads a number in [min, max]. Returns false, after printing
// "Operation cancelled!" (ENTER) or the prompt's range message, when none was read.
bool ReadOption(int32_t min, int32_t max, int32_t *choice);

#pragma once
// Prompt primitives: every dialogue of the console is built from these. Each prints its
// prompt without a newline, flushes, then reads one line (or keys, for secrets).
//
// Statuses shared by all primitives (uint32_t):
//   kPromptOk 0         a value was read
//   kPromptCancelled 1  ENTER on an empty line, or the terminal could not be switched
//   kPromptRejected 2   input present but refused (too long, number outside its bounds)
//   kPromptOutOfRange 5 number outside its bounds or not only digits
// A cancelled primitive leaves its destination as it was.

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <vector>

inline constexpr uint32_t kPromptOk = 0;
inline constexpr uint32_t kPromptCancelled = 1;
inline constexpr uint32_t kPromptRejected = 2;
inline constexpr uint32_t kPromptOutOfRange = 5;

// Print types of OutputOrDump.
inline constexpr int kDumpHexRows = 1;
inline constexpr int kDumpRaw = 2;
inline constexpr int kDumpHexString = 3;
inline constexpr int kDumpFileOnly = 4;

// Reads a line and copies at most `capacity` bytes of it. A copy that fills the buffer is
// not terminated: pass a zeroed buffer one byte longer than the longest accepted value.
uint32_t ReadLine(const char *prompt, char *buffer, size_t capacity);

// ReadLine into a zeroed buffer of `size` bytes, so the value stays terminated. An empty line
// prints the cancellation and returns false.
bool ReadLineOrCancel(const char *prompt, char *buffer, size_t size);

// As ReadLine, refusing (2) more than `maxChars` bytes. With `showBounds` the prompt is
// "<label> [min-max chars]: "; the minimum is shown, not enforced.
// REQUIRES: buffer holds maxChars + 1 bytes.
uint32_t ReadBoundedText(const char *label, char *buffer, size_t maxChars, size_t minChars,
                         bool showBounds);

// Reads with the caller's capacity; a bare ENTER gives an empty string and 0, and only a
// read of nothing at all gives 1.
uint32_t ReadRawLine(const char *prompt, char *buffer, size_t capacity);

// Reads a secret with echo off, one "*" per character, backspace (code 8) erasing. Returns
// the number of characters kept (at most capacity - 1, always terminated), or 1 when the
// terminal could not be switched. Prints no newline. The buffer is the caller's to wipe.
uint32_t ReadSecret(char *buffer, size_t capacity);

// As ReadSecret, but accepts only hexadecimal digits, stored upper case and echoed as
// typed; other keys are ignored. Prints a newline at the end.
uint32_t ReadHexMasked(char *buffer, size_t capacity);

// Yes/no on the full prompt: "y", "Y", "s", "S" are yes, "n", "N" no, ENTER the default;
// anything else asks again. Returns 1 for yes, 0 for no.
int AskYesNo(const char *prompt, int defaultAnswer);

// AskYesNo on "<label> ([y]/n): " or "<label> (y/[n]): ".
int AskYesNoWithDefault(const char *label, int defaultAnswer);

// Yes/no with the caller's two letters (any case); an invalid answer falls back to AskYesNo.
int AskCustomYesNo(const char *prompt, char yesLetter, char noLetter, int defaultAnswer);

// Reads a decimal integer (leading digits; unparsable text is 0) into [min, max].
// With `showBounds` the prompt is "<label> [min-max] : ". Returns 0, 1 or 2.
uint32_t ReadIntInRange(const char *prompt, int32_t *value, int32_t min, int32_t max,
                        bool showBounds);

// Prompt "<label> (int min-max) [default]: " right-aligned in `width` columns. Returns 0,
// 1 (ENTER: the caller takes the default) or 5 (outside [min, max]).
uint32_t ReadIntWithDefault(const char *label, int32_t defaultValue, int width, int32_t min,
                            int32_t max, int32_t *value);

// Reads a number with no prompt: only digits before the line's end and within [min, max],
// else 5.
uint32_t ReadMenuNumber(int32_t min, int32_t max, int32_t *value);

// Asks for a path and reads the whole file into memory from QAlloc (free with QFree).
uint32_t ReadFilePrompt(const char *prompt, uint8_t **data, uint32_t *length);
// The same into an owned vector.
uint32_t ReadFilePrompt(const char *prompt, std::vector<uint8_t> *data);
// ReadFilePrompt with "File (local) : " and a 256-byte path.
uint32_t ReadLocalFile(uint8_t **data, uint32_t *length);

// Reads a whole file into memory from QAlloc (free with QFree). Returns 0 or 1.
uint32_t ReadWholeFile(const char *path, uint8_t **data, uint32_t *length);
// The same into an owned vector; true on success.
bool ReadWholeFile(const char *path, std::vector<uint8_t> *data);

// When `path` can be opened for reading, asks "File already exists, overwrite (y/[n]): ";
// a refusal prints "Operation cancelled!" and returns 1. Otherwise 0.
uint32_t CheckOverwrite(const char *path);
// Writes the bytes as one block with `mode` ("wb" when none). Returns 0 or 1.
uint32_t WriteFile(const char *path, const void *data, size_t length, const char *mode = "wb");

// Asks for an output file (`prompt`, or the standard one when null) and writes the data
// there, or on ENTER shows it on the screen in the given print type. Returns 0 or 1.
uint32_t OutputOrDump(const char *prompt, const uint8_t *data, size_t length, int printType);

// "%02X" per byte, then a newline when asked.
void PrintHex(const uint8_t *data, size_t length, bool newline);

// Parses one bound of a date range: "YYYY", "YYYY/MM[/DD]" or "YYYY-mon[-DD]". Missing parts
// make a start the first day and an end the last day. An empty text is all zeros.
bool ParseDateBound(const char *text, bool isEnd, struct tm *out);

// Asks for a start and an end date; 1 when both are acceptable, 0 otherwise (a bad start
// date is refused before the end date is asked).
int ReadDateRange(struct tm *start, struct tm *end);

// Asks `question` (default no); on yes reads a word with `prompt` and returns `code` when it
// begins with `expected`. Otherwise prints `cancelText` and returns 0.
uint32_t ConfirmByTyping(const char *question, const char *prompt, const char *expected,
                         const char *cancelText, uint32_t code);

// Prints a 79-column box of `border` around the lines, each centred. `lines` ends with an
// empty string; a line that is only "\n" is printed as a blank.
void PrintBoxedBanner(char border, const char *const *lines);

// Clears the screen and prints the title and an empty line.
void ClearScreenTitle(const char *title);

// True when every character is a hexadecimal digit (an empty text too).
bool IsHexString(const char *text);
// Converts pairs of hexadecimal digits; false for an odd length or a non-digit.
bool HexToBytes(const char *text, std::vector<uint8_t> *out);

// "\n<message> <library text> (<code>)\n" on standard error.
void PrintError(const char *message, uint32_t code);

// "\nOperation cancelled!\n" on standard error.
void PrintCancelled();

// "\nPress ENTER key to continue...\n\n" and waits for one key.
void WaitForEnter();

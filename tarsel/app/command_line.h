#pragma once
// The console's command line: a pure parse of argv into the start-up state, and the usage
// text. Parsing never prompts and never calls the device library.

#include "app/process_state.h"

// What the parse leaves for the login dialogue beyond the start-up state.
struct CommandLineExtras {
    // The base64 access token of -a, pointing into argv; nullptr without -a.
    const char *accessToken = nullptr;
    // No address and user were given (no arguments, or the single argument -sip): the
    // dialogue asks for them.
    bool askAddressAndUser = false;
};

enum class ParseResult { kProceed, kUsage };

// Fills the command-line fields of *state (address, user, port, session flags, option
// flags, paths) from argv[1..argc-1], starting from the defaults (port 4433, TLS, every
// flag off). On kUsage the caller prints the usage text and ends with -1; *state and
// *extras are then partly filled and must not be used.
ParseResult ParseCommandLine(int argc, const char *const *argv, ProcessState *state,
                             CommandLineExtras *extras);

// Prints the usage text on standard output.
void PrintUsage();

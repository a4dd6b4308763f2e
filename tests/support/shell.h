#pragma once
// Runs a shell command for a test (unzip, the chain checker, ...).

#include <sys/wait.h>

#include <cstdio>
#include <string>

// The command's exit status; its standard output in *out.
inline int Shell(const std::string &command, std::string *out = nullptr) {
    FILE *pipe = ::popen(command.c_str(), "r");
    if (pipe == nullptr) return -1;
    char buffer[4096];
    std::string text;
    for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
        text.append(buffer, n);
    if (out != nullptr) *out = text;
    return WEXITSTATUS(::pclose(pipe));
}

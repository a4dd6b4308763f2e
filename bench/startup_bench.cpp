// Time from starting tarsel to its main menu's "Option : " prompt, under a pseudo-terminal,
// logging in as an operator whose password is typed as soon as echo is off.
// Usage: startup_bench TARSEL PORT PASSWORD RUNS (-e|-c)
// Prints the median and the minimum in milliseconds.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "pty_driver.h"

int main(int argc, char **argv) {
    if (argc != 6) {
        std::fprintf(stderr, "usage: %s TARSEL PORT PASSWORD RUNS -e|-c\n", argv[0]);
        return 2;
    }
    const std::string tarsel = argv[1];
    const std::string port = argv[2];
    const std::string password = argv[3];
    const int runs = std::atoi(argv[4]);
    const std::string mode = argv[5];

    std::vector<double> millis;
    for (int i = 0; i < runs; ++i) {
        auto start = std::chrono::steady_clock::now();
        PtyDriver console(tarsel, {"127.0.0.1", "master", mode, "-p", port});
        console.SendSecret(password + "\n");
        if (!console.Expect("Option : ")) return 1;
        millis.push_back(
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
                .count());
        console.Send("0\n");
        if (console.WaitExit() != 0) return 1;
    }
    std::sort(millis.begin(), millis.end());
    std::printf("%.3f %.3f\n", millis[millis.size() / 2], millis.front());
    return 0;
}

// orvena-card: makes virtual smart cards and inserts them into, or removes them from, the
// reader that the device library reads.

#include <sys/stat.h>

#include <exception>
#include <iostream>

#include "card_commands.h"

int main(int argc, char **argv) {
    ::umask(077);  // cards hold PIN verifiers and shadows: the owner's alone
    try {
        return cards::RunCardCommand(std::vector<std::string>(argv + 1, argv + argc), std::cout,
                                     std::cerr);
    } catch (const std::exception &e) {
        std::cerr << "orvena-card: " << e.what() << "\n";
        return cards::kExitFailure;
    }
}

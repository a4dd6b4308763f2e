#include "card_commands.h"

#include <openssl/crypto.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <map>
#include <optional>

#include "card_pin.h"
#include "card_reader.h"
#include "status.h"

namespace cards {

namespace {

// The PIN of a card made or reset without --pin; rehearsals change it with the console.
constexpr const char *kDefaultPin = "12345678";

struct UsageError {
    std::string message;
};

struct Failure {
    std::string message;
};

// One command: its word, positional arguments, options with a value and flags.
struct CommandLine {
    std::string command;
    std::vector<std::string> positional;
    std::map<std::string, std::string> options;
    bool unformatted = false;
};

CommandLine Parse(const std::vector<std::string> &args, std::optional<std::string> *reader) {
    CommandLine line;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string &word = args[i];
        if (word == "--unformatted") {
            line.unformatted = true;
        } else if (word == "--reader" || word == "--pin" || word == "--label") {
            if (i + 1 >= args.size()) throw UsageError{word + " needs a value"};
            if (word == "--reader")
                *reader = args[++i];
            else
                line.options[word] = args[++i];
        } else if (word.rfind("--", 0) == 0) {
            throw UsageError{"unknown option " + word};
        } else if (line.command.empty()) {
            line.command = word;
        } else {
            line.positional.push_back(word);
        }
    }
    return line;
}

// REQUIRES: the command takes `count` positional arguments and the options in `allowed`.
void Expect(const CommandLine &line, size_t count, std::initializer_list<const char *> allowed,
            bool unformattedAllowed = false) {
    if (line.positional.size() != count)
        throw UsageError{line.command + ": wrong number of arguments"};
    for (const auto &[name, value] : line.options) {
        bool known = false;
        for (const char *a : allowed)
            known = known || name == a;
        if (!known) throw UsageError{line.command + " does not take " + name};
    }
    if (line.unformatted && !unformattedAllowed)
        throw UsageError{line.command + " does not take --unformatted"};
}

std::string CardName(const CommandLine &line) {
    const std::string &name = line.positional.at(0);
    if (!Reader::ValidName(name))
        throw UsageError{"bad card name '" + name +
                         "': 1 to 64 letters, digits, '.', '_' or '-', not starting with '.'"};
    return name;
}

// The PIN of --pin, or the default; its shape is checked.
std::string PinOption(const CommandLine &line) {
    auto it = line.options.find("--pin");
    std::string pin = it == line.options.end() ? kDefaultPin : it->second;
    if (CheckPinShape(pin.c_str()) != wire::OK) {
        OPENSSL_cleanse(pin.data(), pin.size());
        throw UsageError{"the PIN must be 8 decimal digits"};
    }
    return pin;
}

void Check(uint32_t status, const std::string &what) {
    if (status != wire::OK) throw Failure{what + ": " + wire::StatusText(status)};
}

Card LoadCard(const Reader &reader, const std::string &name) {
    Card card;
    const uint32_t status = reader.Load(name, &card);
    if (status == wire::ERR_NOT_FOUND) throw Failure{"no card named '" + name + "'"};
    Check(status, "card '" + name + "'");
    return card;
}

std::string Hex(const uint8_t *bytes, size_t size) {
    std::string text;
    char digits[3];
    for (size_t i = 0; i < size; ++i) {
        std::snprintf(digits, sizeof digits, "%02X", bytes[i]);
        text += digits;
    }
    return text;
}

// Formats the card under the PIN of the command line.
void FormatWithPin(Card *card, const CommandLine &line) {
    std::string pin = PinOption(line);
    Format(card, pin.c_str());
    OPENSSL_cleanse(pin.data(), pin.size());
}

int New(const Reader &reader, const CommandLine &line, std::ostream &out) {
    Expect(line, 1, {"--pin", "--label"}, true);
    const std::string name = CardName(line);
    auto label = line.options.find("--label");
    if (line.unformatted && line.options.size() > 0)
        throw UsageError{"an unformatted card takes neither a PIN nor a label"};
    if (label != line.options.end() && label->second.size() > kMaxLabel)
        throw UsageError{"the label has more than 32 characters"};
    std::error_code error;
    std::filesystem::create_directories(reader.directory(), error);
    if (!reader.Exists()) throw Failure{"cannot make the reader directory " + reader.directory()};

    ReaderLock lock(reader);
    Card existing;
    if (reader.Load(name, &existing) != wire::ERR_NOT_FOUND)
        throw Failure{"a card named '" + name + "' exists already"};
    Card card = BlankCard();
    if (!line.unformatted) FormatWithPin(&card, line);
    if (label != line.options.end()) card.label = label->second;
    Check(reader.Save(name, card), "saving card '" + name + "'");
    out << "Card " << name << " made, CSN " << Hex(card.csn.data(), card.csn.size()) << ", "
        << (card.formatted ? "formatted" : "unformatted") << ".\n";
    return 0;
}

int Insert(const Reader &reader, const CommandLine &line, std::ostream &out) {
    Expect(line, 1, {});
    const std::string name = CardName(line);
    ReaderLock lock(reader);
    LoadCard(reader, name);
    const std::string previous = reader.Inserted();
    if (previous == name) {
        out << "Card " << name << " is in the reader already.\n";
        return 0;
    }
    Check(reader.Insert(name), "inserting card '" + name + "'");
    if (!previous.empty()) out << "Card " << previous << " removed.\n";
    out << "Card " << name << " inserted.\n";
    return 0;
}

int Remove(const Reader &reader, const CommandLine &line, std::ostream &out) {
    Expect(line, 0, {});
    ReaderLock lock(reader);
    const std::string previous = reader.Inserted();
    if (previous.empty()) throw Failure{"the reader is empty"};
    Check(reader.Remove(), "removing card '" + previous + "'");
    out << "Card " << previous << " removed.\n";
    return 0;
}

int List(const Reader &reader, const CommandLine &line, std::ostream &out) {
    Expect(line, 0, {});
    const std::string inserted = reader.Inserted();
    for (const std::string &name : reader.Cards()) {
        Card card;
        const uint32_t status = reader.Load(name, &card);
        const char *state = status != wire::OK   ? "damaged"
                            : !card.formatted    ? "unformatted"
                            : card.pinTries == 0 ? "locked"
                                                 : (card.sealedShadow.empty() ? "blank" : "shadow");
        out << (name == inserted ? "* " : "  ") << name << "  " << state << "\n";
    }
    return 0;
}

int Info(const Reader &reader, const CommandLine &line, std::ostream &out) {
    Expect(line, 1, {});
    const std::string name = CardName(line);
    const Card card = LoadCard(reader, name);
    auto field = [&](const char *label, const std::string &value) {
        char padded[32];
        std::snprintf(padded, sizeof padded, "%-12s: ", label);
        out << padded << value << "\n";
    };
    field("Card", name + (reader.Inserted() == name ? " (inserted)" : ""));
    field("ATR", Hex(card.atr.data(), card.atr.size()));
    field("CSN", Hex(card.csn.data(), card.csn.size()));
    field("Family", card.family);
    field("Card Name", card.name);
    field("Card OS", card.os);
    field("Filesystem", card.formatted ? "formatted" : "unformatted");
    if (card.formatted) {
        field("PIN tries", std::to_string(card.pinTries) + (card.pinTries == 0 ? " (locked)" : ""));
        field("PIN changes",
              std::to_string(card.pinChanges) + (card.pinChanges == 0 ? " (PIN locked)" : ""));
        field("Label", card.label);
        field("Shadow", card.sealedShadow.empty() ? "none" : "recorded");
    }
    return 0;
}

int ResetPin(const Reader &reader, const CommandLine &line, std::ostream &out) {
    Expect(line, 1, {"--pin"});
    const std::string name = CardName(line);
    ReaderLock lock(reader);
    Card card = LoadCard(reader, name);
    FormatWithPin(&card, line);
    Check(reader.Save(name, card), "saving card '" + name + "'");
    out << "Card " << name << " reset: formatted, new PIN, no label, no shadow.\n";
    return 0;
}

}  // namespace

std::string CardUsage() {
    return R"(Usage: orvena-card [--reader DIR] COMMAND [ARGUMENTS]

Makes virtual smart cards and inserts them into the reader that the device library
reads. The reader is the directory DIR, or that of QELVOARC_SC_READER.

Commands:
  new NAME [--pin DIGITS] [--label TEXT] [--unformatted]
        Makes a card: a new serial number, formatted with the PIN (8 digits, default
        12345678) and the label (at most 32 characters), or unformatted. Makes the
        reader directory when it is missing.
  insert NAME   Puts the card into the reader, taking out the one that was in.
  remove        Takes the card out of the reader.
  list          The cards, "*" before the one in the reader, and their state:
                unformatted, locked, blank (no shadow) or shadow.
  info NAME     The card's description, counters, label and whether it holds a shadow.
  reset-pin NAME [--pin DIGITS]
        Factory reset: formats the card again with the PIN, erasing its label, its
        shadow and its counters. The serial number stays.

Exit status: 0 done, 1 refused or failed (the reason on standard error), 2 usage error.
)";
}

int RunCardCommand(const std::vector<std::string> &args, std::ostream &out, std::ostream &err) {
    if (!args.empty() && (args[0] == "--help" || args[0] == "-h")) {
        out << CardUsage();
        return 0;
    }
    try {
        std::optional<std::string> directory;
        const CommandLine line = Parse(args, &directory);
        if (!directory) {
            const char *variable = std::getenv("QELVOARC_SC_READER");
            if (variable != nullptr && variable[0] != '\0') directory = variable;
        }
        if (!directory) throw UsageError{"no reader: give --reader DIR or set QELVOARC_SC_READER"};
        const Reader reader(*directory);
        if (line.command != "new" && !reader.Exists())
            throw Failure{"no reader directory " + *directory};
        if (line.command == "new") return New(reader, line, out);
        if (line.command == "insert") return Insert(reader, line, out);
        if (line.command == "remove") return Remove(reader, line, out);
        if (line.command == "list") return List(reader, line, out);
        if (line.command == "info") return Info(reader, line, out);
        if (line.command == "reset-pin") return ResetPin(reader, line, out);
        throw UsageError{line.command.empty() ? "no command" : "unknown command " + line.command};
    } catch (const UsageError &e) {
        err << "orvena-card: " << e.message << "\nTry 'orvena-card --help'.\n";
        return kExitUsage;
    } catch (const Failure &e) {
        err << "orvena-card: " << e.message << "\n";
        return kExitFailure;
    }
}

}  // namespace cards

#include "card_serials.h"

#include <openssl/evp.h>

#include <map>
#include <mutex>

#include "inserted_card.h"

namespace qelvoarc {

namespace {

// A ceremony has at most a few sets of 16 cards; older entries go first beyond this.
constexpr size_t kRemembered = 256;

std::mutex gMutex;
std::map<std::string, std::string> gSerials;

std::string Digest(const QSmartCardShadow &shadow) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (EVP_Digest(&shadow, sizeof shadow, digest, &length, EVP_sha256(), nullptr) != 1) return {};
    return std::string(reinterpret_cast<const char *>(digest), length);
}

}  // namespace

void RememberCardOf(const QSmartCardShadow &shadow, const cards::Reader &reader) {
    cards::Card card;
    if (cards::DescribeCard(reader, &card) != Q_OK) return;
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string serial;
    for (uint8_t byte : card.csn) {
        serial += kDigits[byte >> 4];
        serial += kDigits[byte & 15];
    }
    const std::string key = Digest(shadow);
    if (key.empty()) return;
    std::lock_guard lock(gMutex);
    if (gSerials.size() >= kRemembered) gSerials.erase(gSerials.begin());
    gSerials[key] = serial;
}

std::string CardSerialOf(const QSmartCardShadow &shadow) {
    const std::string key = Digest(shadow);
    std::lock_guard lock(gMutex);
    auto found = gSerials.find(key);
    return found == gSerials.end() ? std::string() : found->second;
}

}  // namespace qelvoarc

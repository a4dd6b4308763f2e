#pragma once
// The cards this process last read each shadow from or wrote it to, so that the requests of
// a ceremony can tell the HSM's event log which cards took part. Shadows are known only by a
// digest. Thread-safe.

#include <string>

#include "card_reader.h"
#include "qelvoarc.h"

namespace qelvoarc {

// Notes that `shadow` is on the card inserted in `reader`.
void RememberCardOf(const QSmartCardShadow &shadow, const cards::Reader &reader);

// The serial number (24 hexadecimal digits, as the card's information shows it) of the card
// `shadow` was last seen on; empty when none.
std::string CardSerialOf(const QSmartCardShadow &shadow);

}  // namespace qelvoarc

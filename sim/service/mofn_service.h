#pragma once
// Server master key sets on custodians' smart cards, the M of N state of the caller's
// partition, and secrets split M of N. The library reads shadows from the cards; the HSM
// only ever sees shadows and checks each against the set it belongs to.
//
// The state of a partition under M of N moves only so (any other move: kMofNState; shadows
// of another set than the associated one: kMofNWrongSet):
//   Associate   Initial (any set of this HSM), Associated or Authorized (its set) -> Associated
//   Authorize   Associated or Authorized -> Authorized
//   Session     Associated or Authorized: this session is granted the mask, state unchanged
//   Reset       Associated or Authorized -> Initial, no set, no permission
//   Check       any state: the shadows are a good set (the associated one, if any)
// Associate, Authorize and Reset end the session authorization of the session asking.

#include "service/dispatch_table.h"

namespace sim {

void RegisterMofNService(DispatchTable &table);

}  // namespace sim

#pragma once
// How a handler answers one request with several frames (the follow of the event log): the
// connection hands it this while the request runs. Other requests never see it.

#include "envelope.pb.h"

namespace sim {

class ReplyStream {
  public:
    virtual ~ReplyStream() = default;

    // Sends `response` ahead of the request's last reply, then wipes it as SendResponse does.
    // False when the client is gone.
    virtual bool Push(wire::pb::Response &response) = 0;

    // Waits up to `timeoutMs` for the client to speak. True when it asked the stream to stop:
    // with the stop request, with any other frame (which is not served), or by going away;
    // the server stopping counts as going away.
    virtual bool StopAsked(int timeoutMs) = 0;
};

}  // namespace sim

#pragma once
// How long the module waits for an answer from elsewhere (a command forwarded by a menu, the prepare
// requests of an add). The host answers a request of its API with an error after 30 s; the module
// then answers whatever still waits with a Timeout error and lets it go, so nothing waits for ever.
// Read and written on the worker's thread; tests may shorten it.
#include "CMError.h"
#include "CMReply.h"

struct ReplyTimeout
{
    static constexpr int defaultMs = 30000;
    static int ms;  // the bound in effect, defaultMs unless a test changed it

    // Answers reply with the Timeout error unless it is already finished.
    static void answer(const CMVoidReply& reply);
};

#include "ReplyTimeout.h"

#include "Language.h"

int ReplyTimeout::ms = ReplyTimeout::defaultMs;

void ReplyTimeout::answer(const CMVoidReply& reply)
{
    if (!reply.isFinished())
        reply.setError(CMError(CMError::TimeoutName(), KELO_TR("No answer within %1 ms.").arg(ms)));
}

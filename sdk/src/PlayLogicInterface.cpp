#include "PlayLogic.h"

#include "CMRoot.h"
#include "KeloLog.h"
#include "KeloPaths.h"

PlayLogicInterface* PlayLogicInterface::playerInstance()
{
    static PlayLogicInterface player;
    return &player;
}

void PlayLogicInterface::stop(PlayLogicInterface* player)
{
    if (player)
        player->sendControl({{QStringLiteral("control"), QStringLiteral("stop")}}, CMVoidReply());
}

void PlayLogicInterface::playContainer(const KeloRoles& containerRoles, const KeloRoles& trackRoles, int index,
                                       const CMVoidReply& reply, bool startPaused) const
{
    sendControl({{QStringLiteral("control"), QStringLiteral("playContainer")},
                 {QStringLiteral("containerRoles"), containerRoles.toVariant()},
                 {QStringLiteral("trackRoles"), trackRoles.toVariant()},
                 {QStringLiteral("index"), index},
                 {QStringLiteral("paused"), startPaused}},
                reply);
}

void PlayLogicInterface::sendControl(const QVariantHash& value, const CMVoidReply& reply) const
{
    CMRootWorker* root = CMRoot();
    if (!root) {
        KELO_LOG_WARN("PlayLogic", "No root worker, player control dropped: " << value.value(QStringLiteral("control")).toString());
        reply.setError(CMError(CMError::NotFoundName(), QStringLiteral("There is no player")));
        return;
    }
    root->sendSetData(CMSetDataRequest(KeloPlayerControlPath(), value, reply));
}

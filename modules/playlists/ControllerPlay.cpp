// Starting playback: the play command and the start of one entry within its playlist. The player is
// asked to play the entry's container; it then asks this module's play logic, named in the track's
// media metadata, which entry plays and what follows.
#include "Controller.h"

#include "CMGlobal.h"
#include "KeloLog.h"
#include "KeloPaths.h"
#include "KeloPlayList.h"
#include "Language.h"
#include "PlayList.h"
#include "PlayListManager.h"
#include "PlayLogic.h"
#include "PlayListsLog.h"

bool Controller::plPlay(CMSetDataRequest request, QString& msg)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    const QString what = KELO_TR("Could not start playback on playlist.");
    const int plid = KeloPlayListPlId(KeloHash(request.value().toHash())).plid();
    if (!checkPlayListId(plid, what, msg)) {
        KELO_LOG_ERROR(PlayListsLogger, "Cannot play invalid playlist id: " << plid);
        return false;
    }
    PlayListBase* pl = manager->getPlayListByUid(plid);
    if (!checkPlayList(pl, plid, what, msg)) {
        KELO_LOG_ERROR(PlayListsLogger, "Playlist id: " << plid << " doesn't exist");
        return false;
    }
    if (pl->getSize() == 0) {
        msg = buildErrMsg(what, KELO_TR("There are no items in the playlist."), pl->getName());
        return false;
    }
    const QList<KeloPlayListItem> items = pl->getItems(0, 0);
    if (items.isEmpty()) {
        msg = buildErrMsg(what, KELO_TR("Cannot get first item"), pl->getName());
        return false;
    }
    tryStartItem(items.first(), pl, 0);
    msg = buildOkMsg(KELO_TR("Playback started successfully on playlist."), pl->getName(), QString());
    return true;
}

void Controller::tryStartItem(const KeloPlayListItem& item, const PlayListBase* pl, int index)
{
    KELO_ASSERT_THREAD(this);
    const CMPath containerPath =
        pl->getUid() == 0 ? KeloPlayListPqGetItemsPath() : KeloPlayListPlGetItemsPath() + pl->getUid();
    KELO_LOG_TRACE(PlayListsLogger, "path: " << containerPath.toEncoded());
    KeloRoles containerRoles;
    containerRoles.setType(KeloRolesType::Container);
    containerRoles.setPath(containerPath);
    containerRoles.setContainerPlayable(true);
    KELO_LOG_TRACE(PlayListsLogger, "play item: " << item.toVariant());

    KeloMetaData metaData;
    metaData.setPlayLogicPath(KeloPlayListsPlayLogicPath());
    KeloMediaData mediaData;
    mediaData.setMetaData(metaData);
    KeloRoles trackRoles;
    trackRoles.setPath(containerPath + item.uid());
    trackRoles.setMediaData(mediaData);
    KELO_LOG_TRACE(PlayListsLogger, "play item trackRoles: " << trackRoles.toVariant());

    if (item.url().isEmpty()) {
        KELO_LOG_ERROR(PlayListsLogger, "Item " << item.uid() << " hasn't url");
        return;
    }
    PlayLogicInterface::playerInstance()->playContainer(containerRoles, trackRoles, index, CMVoidReply(), false);
    KELO_LOG_TRACE(PlayListsLogger, "playContainer() called");
}

// Starting playback: the play command and the start of an added entry. Playback needs the module's
// play logic; until it is built the play command answers that playback is not available.
#include "Controller.h"

#include "KeloLog.h"
#include "KeloPlayList.h"
#include "Language.h"
#include "PlayList.h"
#include "PlayListManager.h"

bool Controller::plPlay(CMSetDataRequest request, QString& msg)
{
    KELO_TRACE_SCOPE("PlayLists");
    const QString what = KELO_TR("Could not start playback on playlist.");
    const int plid = KeloPlayListPlId(KeloHash(request.value().toHash())).plid();
    if (!checkPlayListId(plid, what, msg)) {
        KELO_LOG_ERROR("PlayLists", "Cannot play invalid playlist id: " << plid);
        return false;
    }
    PlayListBase* pl = manager->getPlayListByUid(plid);
    if (!checkPlayList(pl, plid, what, msg)) {
        KELO_LOG_ERROR("PlayLists", "Playlist id: " << plid << " doesn't exist");
        return false;
    }
    if (pl->getSize() == 0) {
        msg = buildErrMsg(what, KELO_TR("There are no items in the playlist."), pl->getName());
        return false;
    }
    msg = buildErrMsg(what, KELO_TR("Playback is not available."), pl->getName());
    KELO_LOG_WARN("PlayLists", "Playback is not available, playlist id: " << plid);
    return false;
}

void Controller::tryStartItem(const KeloPlayListItem& item, const PlayListBase* pl, int index)
{
    KELO_LOG_WARN("PlayLists", "Playback is not available, not starting item " << item.uid() << " of playlist "
                                                                                << pl->getUid() << " at " << index);
}

// The synchronous playlist commands: create, delete, rename, shuffle, repeat, clear, remove, move.
#include "Controller.h"

#include <QSet>
#include <cmath>
#include <limits>

#include "KeloLog.h"
#include "KeloPlayList.h"
#include "Language.h"
#include "PlayList.h"
#include "PlayListManager.h"
#include "PlayListsLog.h"

namespace {
KeloHash argumentsOf(const CMSetDataRequest& request)
{
    return KeloHash(request.value().toHash());
}

// Modes arrive as numbers or as names; a number is turned into its name first so that the record
// reads both the same way. A number without a name keeps its decimal text and is range-checked later.
template <class ModeEnum>
KeloHash withModeAsName(KeloHash arguments)
{
    // Only a whole number that fits an int is a mode number: 4294967297 or 1.5 must not wrap or round
    // into a valid mode. Anything else is left as it came and decodes as no mode, which is refused.
    const QVariant value = arguments.get(KeloPlayListArgs::modeKey());
    if (value.userType() == QMetaType::QString)
        return arguments;
    bool isNumber = false;
    const double number = value.toDouble(&isNumber);
    if (isNumber && std::trunc(number) == number && number >= std::numeric_limits<int>::min()
        && number <= std::numeric_limits<int>::max())
        arguments.set(KeloPlayListArgs::modeKey(), ModeEnum::toString(static_cast<int>(number)));
    return arguments;
}
// A block move is a series of single moves (to + i towards the front, to - k towards the back). Each
// source must name an entry and each target must lie inside the playlist: a single move from or to a
// number outside 0..size-1 would leave a gap in the numbering. Naming an entry twice is refused too,
// which also bounds the number of moves (one transaction each) by the size of the playlist.
bool blockMoveStaysInside(const QList<int>& items, int to, int size)
{
    QSet<int> seen;
    for (int item : items) {
        if (item < 0 || item >= size || seen.contains(item))
            return false;
        seen.insert(item);
    }
    const int count = items.size();
    if (items.first() > to)
        return to + count - 1 < size;
    return to - (count - 1) >= 0;
}
}  // namespace

bool Controller::plCreate(CMSetDataRequest request, QString& msg, int& id)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    const QString what = KELO_TR("Could not create playlist.");
    const KeloPlayListPlCreate args(argumentsOf(request));
    if (!checkNonemptyString(args.name(), QStringLiteral("name"), what, msg)) {
        KELO_LOG_ERROR(PlayListsLogger, "Cannot create playlist with empty name");
        return false;
    }
    if (!checkNameLength(args.name(), what, msg))
        return false;
    PlayListBase* pl = manager->createPlayList(args.name());
    if (!pl) {
        msg = buildErrMsg(what, KELO_TR("Create playlist error."), msg);
        KELO_LOG_ERROR(PlayListsLogger, "Create playlist failed");
        return false;
    }
    id = pl->getUid();
    emit playlistCreated(id);
    msg = buildOkMsg(KELO_TR("Playlist created successfully."), pl->getName(), QString());
    KELO_LOG_INFO(PlayListsLogger, "Playlist id: " << id << ", name: " << pl->getName() << " created successfully");
    return true;
}

bool Controller::plDelete(CMSetDataRequest request, QString& msg)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    const QString what = KELO_TR("Could not delete playlist.");
    const int plid = KeloPlayListPlId(argumentsOf(request)).plid();
    if (!checkPlayListId(plid, what, msg)) {
        KELO_LOG_ERROR(PlayListsLogger, "Cannot delete invalid playlist id: " << plid);
        return false;
    }
    if (plid == 0) {
        msg = buildErrMsg(what, KELO_TR("Cannot delete PlayQueue."), msg);
        KELO_LOG_ERROR(PlayListsLogger, "Cannot delete playqueue");
        return false;
    }
    PlayListBase* pl = manager->getPlayListByUid(plid);
    if (!checkPlayList(pl, plid, what, msg)) {
        KELO_LOG_ERROR(PlayListsLogger, "Playlist id: " << plid << " doesn't exist");
        return false;
    }
    const QString name = pl->getName();
    if (!manager->deletePlayList(pl)) {
        msg = buildErrMsg(what, KELO_TR("Delete playlist error."), msg);
        KELO_LOG_ERROR(PlayListsLogger, "Delete playlist id: " << plid << " failed");
        return false;
    }
    emit playlistDeleted(plid);
    msg = buildOkMsg(KELO_TR("Playlist deleted successfully."), name, QString());
    KELO_LOG_INFO(PlayListsLogger, "Playlist id: " << plid << " deleted successfully");
    return true;
}

bool Controller::plSetName(CMSetDataRequest request, QString& msg)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    const QString what = KELO_TR("Could not set playlist name.");
    const KeloPlayListPlSetName args(argumentsOf(request));
    const int plid = args.plid();
    if (!checkPlayListId(plid, what, msg)) {
        KELO_LOG_ERROR(PlayListsLogger, "Cannot rename playlist id: " << plid);
        return false;
    }
    if (plid == 0) {
        msg = buildErrMsg(what, KELO_TR("Cannot rename PlayQueue."), msg);
        KELO_LOG_ERROR(PlayListsLogger, "Cannot rename playqueue");
        return false;
    }
    if (!checkNonemptyString(args.name(), QStringLiteral("name"), what, msg)) {
        KELO_LOG_ERROR(PlayListsLogger, "Cannot rename playlist id: " << plid << " to empty string");
        return false;
    }
    if (!checkNameLength(args.name(), what, msg))
        return false;
    PlayListBase* pl = manager->getPlayListByUid(plid);
    if (!checkPlayList(pl, plid, what, msg)) {
        KELO_LOG_ERROR(PlayListsLogger, "Playlist id: " << plid << " doesn't exist");
        return false;
    }
    if (!pl->setName(args.name())) {
        msg = buildErrMsg(what, KELO_TR("The playlist could not be stored."), QString());
        return false;
    }
    msg = buildOkMsg(KELO_TR("Playlist renamed successfully."), pl->getName(), QString());
    KELO_LOG_INFO(PlayListsLogger, "Playlist id:" << plid << " successfully renamed to: " << args.name());
    return true;
}

// Every accepted mode other than "on" switches shuffle off, negative numbers included.
bool Controller::plSetShuffle(CMSetDataRequest request, QString& msg)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    const QString what = KELO_TR("Could not set shuffle mode on playlist.");
    const KeloPlayListPlSetShuffle args(withModeAsName<KeloPlayListPlShuffleMode>(argumentsOf(request)));
    const int plid = args.plid();
    const int mode = args.mode();
    if (!checkPlayListId(plid, what, msg)) {
        KELO_LOG_ERROR(PlayListsLogger, "Cannot set shuffle for invalid playlist id: " << plid);
        return false;
    }
    if (mode > KeloPlayListPlShuffleMode::On) {
        msg = buildErrMsg(what, KELO_TR("Invalid shuffle mode."), QStringLiteral("shuffle-mode"));
        KELO_LOG_ERROR(PlayListsLogger, "Cannot set shuffle mode: " << mode);
        return false;
    }
    PlayListBase* pl = manager->getPlayListByUid(plid);
    if (!checkPlayList(pl, plid, what, msg)) {
        KELO_LOG_ERROR(PlayListsLogger, "Playlist id: " << plid << " doesn't exist");
        return false;
    }
    const bool shuffle = mode == KeloPlayListPlShuffleMode::On;
    if (!pl->setShuffle(shuffle)) {
        msg = buildErrMsg(what, KELO_TR("The playlist could not be stored."), QString());
        return false;
    }
    msg = buildOkMsg(KELO_TR("Playlist shuffle mode changed successfully."), pl->getName(),
                     KeloPlayListPlShuffleMode::toString(mode));
    KELO_LOG_INFO(PlayListsLogger, "Playlist id:" << plid << " set shuffle: " << shuffle);
    return true;
}

// Only "all" switches repeat-all on; 3 is accepted as a number and switches it off like the rest.
bool Controller::plSetRepeat(CMSetDataRequest request, QString& msg)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    const QString what = KELO_TR("Could not set repeat mode on playlist.");
    const KeloPlayListPlSetRepeat args(withModeAsName<KeloPlayListPlRepeatMode>(argumentsOf(request)));
    const int plid = args.plid();
    const int mode = args.mode();
    if (!checkPlayListId(plid, what, msg)) {
        KELO_LOG_ERROR(PlayListsLogger, "Cannot set repeat for invalid playlist id: " << plid);
        return false;
    }
    if (mode > 3) {
        msg = buildErrMsg(what, KELO_TR("Invalid repeat mode."), QStringLiteral("repeat-mode"));
        KELO_LOG_ERROR(PlayListsLogger, "Cannot set repeat mode: " << mode);
        return false;
    }
    PlayListBase* pl = manager->getPlayListByUid(plid);
    if (!checkPlayList(pl, plid, what, msg)) {
        KELO_LOG_ERROR(PlayListsLogger, "Playlist id: " << plid << " doesn't exist");
        return false;
    }
    const bool repeatAll = mode == KeloPlayListPlRepeatMode::All;
    if (!pl->setRepeatAll(repeatAll)) {
        msg = buildErrMsg(what, KELO_TR("The playlist could not be stored."), QString());
        return false;
    }
    msg = buildOkMsg(KELO_TR("Playlist repeat mode changed successfully."), pl->getName(),
                     KeloPlayListPlRepeatMode::toString(mode));
    KELO_LOG_INFO(PlayListsLogger, "Playlist id:" << plid << " set repeat all: " << repeatAll);
    return true;
}

bool Controller::plClearItems(CMSetDataRequest request, QString& msg)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    const QString what = KELO_TR("Could not clear playlist.");
    const int plid = KeloPlayListPlId(argumentsOf(request)).plid();
    if (!checkPlayListId(plid, what, msg)) {
        KELO_LOG_ERROR(PlayListsLogger, "Cannot clear items from invalid playlist id: " << plid);
        return false;
    }
    PlayListBase* pl = plid == 0 ? manager->getPlayQueue() : manager->getPlayListByUid(plid);
    if (!checkPlayList(pl, plid, what, msg)) {
        KELO_LOG_ERROR(PlayListsLogger, "Playlist id: " << plid << " doesn't exist");
        return false;
    }
    if (!pl->clearItems()) {
        msg = buildErrMsg(what, KELO_TR("Clear playlist failed."), msg);
        KELO_LOG_ERROR(PlayListsLogger, "Clear playlist id: " << plid << " failed");
        return false;
    }
    msg = buildOkMsg(KELO_TR("Playlist cleared successfully."), pl->getName(), QString());
    KELO_LOG_INFO(PlayListsLogger, "Playlist id: " << plid << " cleared successfully");
    return true;
}

bool Controller::plRemoveItems(CMSetDataRequest request, QString& msg)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    const QString what = KELO_TR("Could not remove items from playlist.");
    const KeloPlayListPlRemoveItems args(argumentsOf(request));
    const int plid = args.plid();
    const QList<int> items = args.items();
    if (!checkPlayListId(plid, what, msg)) {
        KELO_LOG_ERROR(PlayListsLogger, "Cannot delete items from invalid playlist id: " << plid);
        return false;
    }
    if (items.isEmpty()) {
        msg = buildErrMsg(what, KELO_TR("Please select one or more items to remove."), msg);
        KELO_LOG_ERROR(PlayListsLogger, "Cannot delete zero items from playlist id: " << plid);
        return false;
    }
    PlayListBase* pl = manager->getPlayListByUid(plid);
    if (!checkPlayList(pl, plid, what, msg)) {
        KELO_LOG_ERROR(PlayListsLogger, "Playlist id: " << plid << " doesn't exist");
        return false;
    }
    const int removed = pl->removeItems(items);
    KELO_LOG_TRACE(PlayListsLogger, "numItemsChanged " << removed);
    if (removed <= 0) {
        msg = buildErrMsg(what, KELO_TR("Remove items failed"), msg);
        KELO_LOG_ERROR(PlayListsLogger, "Remove items from playlist id: " << plid << " failed");
        return false;
    }
    msg = buildOkMsg(KELO_TR("Items removed successfully from playlist."), pl->getName(), QString());
    KELO_LOG_INFO(PlayListsLogger, "Removed " << removed << " items from playlist id: " << plid);
    return true;
}

bool Controller::plMoveItems(CMSetDataRequest request, QString& msg)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    const QString what = KELO_TR("Could not move items in playlist.");
    const KeloPlayListPlMoveItems args(argumentsOf(request));
    const int plid = args.plid();
    const QList<int> items = args.items();
    const int to = args.to();
    if (!checkPlayListId(plid, what, msg)) {
        KELO_LOG_ERROR(PlayListsLogger, "Cannot move items in invalid playlist id: " << plid);
        return false;
    }
    if (items.isEmpty()) {
        msg = buildErrMsg(what, KELO_TR("Please select one or more items to move."), msg);
        KELO_LOG_ERROR(PlayListsLogger, "Please select one or more items to move in playlist id: " << plid);
        return false;
    }
    if (to < 0) {
        msg = buildErrMsg(what, KELO_TR("Cannot move items to negative position."), msg);
        KELO_LOG_ERROR(PlayListsLogger, "Cannot move items to negative position in playlist id: " << plid);
        return false;
    }
    PlayListBase* pl = manager->getPlayListByUid(plid);
    if (!checkPlayList(pl, plid, what, msg)) {
        KELO_LOG_ERROR(PlayListsLogger, "Playlist id: " << plid << " doesn't exist");
        return false;
    }
    if (to >= pl->getSize() || !blockMoveStaysInside(items, to, pl->getSize())) {
        msg = buildErrMsg(what, KELO_TR("Cannot move items, sequence number is not in valid range."), msg);
        KELO_LOG_ERROR(PlayListsLogger, "Cannot move items, sequence number is not in valid range");
        return false;
    }
    QString indices;
    for (int item : items)
        indices += QStringLiteral("%1,").arg(item);
    KELO_LOG_TRACE(PlayListsLogger, "indicies: " << indices << " toSeqNum " << to);
    if (!pl->moveItems(items, to)) {
        msg = buildErrMsg(what, KELO_TR("Move items failed"), msg);
        KELO_LOG_ERROR(PlayListsLogger, "Unable to move items (" << items << ") to seqnum " << to
                                                             << " in playlist id: " << plid);
        return false;
    }
    msg = buildOkMsg(KELO_TR("Items removed successfully from playlist."), pl->getName(), QString());
    KELO_LOG_INFO(PlayListsLogger, "Items in playlist id: " << plid << " moved successfully to position: " << to);
    return true;
}

#pragma once
// The module's commands: Controller recognises a set-data request on one of the command paths,
// decodes its argument record, validates, acts on the PlayListManager and its playlists and
// collections, and answers the request: a KeloActionReply whose result value is the boolean or the
// new id, or an error carrying a message. Worker's thread only; nothing is locked.
//
// Handlers take the request by value. Synchronous handlers fill msg (and id) and return whether they
// succeeded; handleSetData answers for them. plAddItems and plPrepareItems answer by themselves,
// plAddItems only once its prepare requests have all finished.
#include <QHash>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantList>
#include <functional>
#include <vector>

#include "CMRequest.h"
#include "KeloEnums.h"
#include "KeloPlayList.h"

class CMRequestGroup;
class CollectionBase;
class OfferedItems;
class PlayListBase;
class PlayListManager;
class PlayListWorker;

class Controller : public QObject
{
    Q_OBJECT
public:
    // What an add from browse paths remembers while its prepare requests run.
    struct ReqGroupProperties
    {
        CMSetDataRequest request;  // answered when the group finishes
        int plid = -1;             // target playlist
        int fromPlid = -1;         // source playlist of a merge
        KeloPlayListAddPosition::Enum position = KeloPlayListAddPosition::Append;
        bool merge = false;        // a whole source playlist is added; it is deleted once anything was added
    };

    // Neither pointer is owned.
    Controller(PlayListWorker* worker, PlayListManager* manager, QObject* parent = nullptr);
    ~Controller() override;

    // True when the request's path is a command path; the request is then answered here, now or
    // (for adds from browse paths) later. False: not a command, left untouched.
    bool handleSetData(const CMSetDataRequest& request);

    // Success finishes the reply with a KeloActionReply holding ok (or value) and drops msg;
    // failure finishes it with an error whose message is msg.
    void setReply(const CMSetDataRequest& request, bool ok, const QString& msg);
    void setReplyInt(const CMSetDataRequest& request, bool ok, int value, const QString& msg);

    // "a b (c)"; with an empty c: "a (b)" for success, "a b" for failure.
    QString buildOkMsg(const QString& a, const QString& b, const QString& c);
    QString buildErrMsg(const QString& a, const QString& b, const QString& c);

    // Each returns true for an acceptable argument; otherwise sets err and returns false.
    bool checkNonemptyString(const QString& value, const QString& field, const QString& what, QString& err);
    // A name of a playlist or collection is at most MaxNameChars characters: every listing of the
    // root carries every name, so one huge name would slow every view down.
    static constexpr int MaxNameChars = 255;
    bool checkNameLength(const QString& name, const QString& what, QString& err);
    bool checkPlayList(const PlayListBase* pl, const int& plid, const QString& what, QString& err);
    bool checkPlayListId(const int& plid, const QString& what, QString& err);  // refuses only -1

    // Expands this module's item and playlist paths into playlist items (each a KeloPlayListItem
    // as variant); paths that name nothing are logged and skipped.
    QVariantList preparePlaylistItems(const QStringList& paths);
    // Validates the items' stored roles and adds them. Number added (0 when the items limit left no
    // room), or -1 when an item is unusable or none is left (nothing is added then).
    int addItemsToPlaylist(PlayListBase* pl, const QList<KeloPlayListItem>& items,
                           KeloPlayListAddPosition::Enum position, QString* msg);
    // The same for entries whose verdicts may still be taken while they are stored.
    int addItemsToPlaylist(PlayListBase* pl, OfferedItems& items, KeloPlayListAddPosition::Enum position,
                           QString* msg);
    // An add of entries from outside: where to, how many were offered, how many were added.
    struct ExternalAdd
    {
        bool handled = false;  // false: nothing was tried yet
        PlayListBase* pl = nullptr;
        KeloPlayListAddPosition::Enum position = KeloPlayListAddPosition::Append;
        int offered = 0;
        int added = -1;
    };
    // Texts of at least this many bytes have their entries read while they are inserted.
    static constexpr int StreamedAddBytes = 64 * 1024;
    // A large add at the end read from its text while its entries are inserted. Not handled when
    // the text is to be read whole instead (another mode, a head that names no playlist or mode this
    // way, or a text not in the forms read this way): nothing was added then.
    ExternalAdd addExternalItemsWhileReading(const QByteArray& text, QString* msg);
    // Asks the player to play item as entry index of pl.
    void tryStartItem(const KeloPlayListItem& item, const PlayListBase* pl, int index);

signals:
    void playlistCreated(const int& plid);
    void playlistDeleted(const int& plid);

private slots:
    void on_prepareItemsGroup_finished();
    // The group's add is answered Timeout and dropped when it is still waiting.
    void on_prepareItemsGroup_timeout(CMRequestGroup* group);

private:
    // A command path and what answers it there.
    struct Route
    {
        CMPath path;
        std::function<void(Controller&, const CMSetDataRequest&)> run;
    };
    // Every command path with its handler: built once, shared by every Controller, read-only.
    static const std::vector<Route>& routes();

    bool plPlay(CMSetDataRequest request, QString& msg);
    bool plCreate(CMSetDataRequest request, QString& msg, int& id);
    bool plClearItems(CMSetDataRequest request, QString& msg);
    bool plSetName(CMSetDataRequest request, QString& msg);
    bool plSetShuffle(CMSetDataRequest request, QString& msg);
    bool plSetRepeat(CMSetDataRequest request, QString& msg);
    bool plDelete(CMSetDataRequest request, QString& msg);
    bool plRemoveItems(CMSetDataRequest request, QString& msg);
    bool plMoveItems(CMSetDataRequest request, QString& msg);
    bool plAddExternalItems(CMSetDataRequest request, QString& msg);
    void plAddItems(CMSetDataRequest request);
    void plPrepareItems(CMSetDataRequest request);
    bool clCreate(CMSetDataRequest request, QString& msg, int& id);
    bool clDelete(CMSetDataRequest request, QString& msg);
    bool clSetName(CMSetDataRequest request, QString& msg);
    bool clAddItem(CMSetDataRequest request, QString& msg);
    bool clRemoveItem(CMSetDataRequest request, QString& msg);
    // The collection and the playlist that args name, for clAddItem and clRemoveItem. False, with
    // msg beginning with what, when either does not exist.
    bool findCollectionItem(const KeloPlayListClAddRemoveItem& args, const QString& what, CollectionBase*& collection,
                            PlayListBase*& pl, QString& msg);

    // Asks the owner of every path prefix to prepare its paths; the group's finish answers the add.
    void sendPrepareRequests(const ReqGroupProperties& properties, const QList<CMPath>& paths);
    void appendEntry(int uid, const QString& path, QVariantList* prepared);
    void appendPlayList(int uid, const QString& path, QVariantList* prepared);
    // Adds the items of every finished prepare reply; number added or negative on failure.
    int addItemsFromAllReplays(const ReqGroupProperties& properties, CMRequestGroup* group, QString* msg);
    // In add mode "now": starts the first of the added entries; false when it cannot be read.
    bool startAddedItem(PlayListBase* pl, int added);
    // Answers a finished prepare group's add request.
    void finishAddItems(const ReqGroupProperties& properties, int added, QString msg);

    PlayListWorker* worker;
    PlayListManager* manager;
    QHash<CMRequestGroup*, ReqGroupProperties> m_ReqGroupPropertiesHash;
};

#include "Controller.h"


#include "CMError.h"
#include "CMGlobal.h"
#include "KeloLog.h"
#include "KeloPaths.h"
#include "KeloRoles.h"
#include "Language.h"
#include "PlayList.h"
#include "PlayListManager.h"
#include "PlayListsLog.h"

Controller::Controller(PlayListWorker* worker, PlayListManager* manager, QObject* parent)
    : QObject(parent), worker(worker), manager(manager)
{
}

Controller::~Controller() = default;

bool Controller::handleSetData(const CMSetDataRequest& request)
{
    KELO_ASSERT_THREAD(this);
    KELO_TRACE_SCOPE(PlayListsLogger);
    KELO_ASSERT(request.isValid(), "request");
    const CMPath path = request.path();
    KELO_LOG_TRACE(PlayListsLogger, "routing " << path.toEncoded() << ", value: " << request.value());

    for (const Route& route : routes()) {
        if (path == route.path) {
            route.run(*this, request);
            return true;
        }
    }
    return false;
}

const std::vector<Controller::Route>& Controller::routes()
{
    using Plain = bool (Controller::*)(CMSetDataRequest, QString&);
    using Creator = bool (Controller::*)(CMSetDataRequest, QString&, int&);
    using Async = void (Controller::*)(CMSetDataRequest);
    const auto plain = [](Plain handler) {
        return [handler](Controller& controller, const CMSetDataRequest& request) {
            QString msg;
            const bool ok = (controller.*handler)(request, msg);
            controller.setReply(request, ok, msg);
        };
    };
    const auto creator = [](Creator handler) {
        return [handler](Controller& controller, const CMSetDataRequest& request) {
            QString msg;
            int id = -1;
            const bool ok = (controller.*handler)(request, msg, id);
            controller.setReplyInt(request, ok, id, msg);
        };
    };
    const auto async = [](Async handler) {
        return [handler](Controller& controller, const CMSetDataRequest& request) { (controller.*handler)(request); };
    };
    // The order decides only if two constants ever share a value; it is kept as the SDK lists them.
    static const std::vector<Route> table = {
        {KeloPlayListPlPrepareItemsPath(), async(&Controller::plPrepareItems)},
        {KeloPlayListPlPlayPath(), plain(&Controller::plPlay)},
        {KeloPlayListPlCreatePath(), creator(&Controller::plCreate)},
        {KeloPlayListPlClearPath(), plain(&Controller::plClearItems)},
        {KeloPlayListPlSetNamePath(), plain(&Controller::plSetName)},
        {KeloPlayListPlSetShufflePath(), plain(&Controller::plSetShuffle)},
        {KeloPlayListPlSetRepeatPath(), plain(&Controller::plSetRepeat)},
        {KeloPlayListPlDeletePath(), plain(&Controller::plDelete)},
        {KeloPlayListPlRemoveItemsPath(), plain(&Controller::plRemoveItems)},
        {KeloPlayListPlAddItemsPath(), async(&Controller::plAddItems)},
        {KeloPlayListPlAddExternalItemsPath(), plain(&Controller::plAddExternalItems)},
        {KeloPlayListPlMoveItemspath(), plain(&Controller::plMoveItems)},
        {KeloPlayListClCreatePath(), creator(&Controller::clCreate)},
        {KeloPlayListClAddItemPath(), plain(&Controller::clAddItem)},
        {KeloPlayListClRemoveItemPath(), plain(&Controller::clRemoveItem)},
        {KeloPlayListClDeletePath(), plain(&Controller::clDelete)},
        {KeloPlayListClSetNamePath(), plain(&Controller::clSetName)},
    };
    return table;
}

void Controller::setReply(const CMSetDataRequest& request, bool ok, const QString& msg)
{
    KELO_ASSERT_THREAD(this);
    KELO_LOG_TRACE(PlayListsLogger, "res: " << ok << " msg: " << msg);
    KeloValue value;
    value.setBool_(ok);
    if (ok) {
        KeloRoles result;
        result.setValue(value);
        KeloActionReply reply;
        reply.setXclass(QStringLiteral("KeloActionReply"));
        reply.setResult(result);
        request.reply().setValue(reply.toVariant());
        return;
    }
    CMError error;
    error.setName(CMError::DefaultName());
    error.setMessage(TrString(msg));
    error.setTitle(CMError::DefaultTitle());
    request.reply().setError(error);
}

void Controller::setReplyInt(const CMSetDataRequest& request, bool ok, int value, const QString& msg)
{
    KELO_ASSERT_THREAD(this);
    KELO_LOG_TRACE(PlayListsLogger, "res: " << ok << " val: " << value << " msg: " << msg);
    if (ok) {
        KeloValue id;
        id.setI32_(value);
        KeloRoles result;
        result.setValue(id);
        KeloActionReply reply;
        reply.setXclass(QStringLiteral("KeloActionReply"));
        reply.setResult(result);
        request.reply().setValue(reply.toVariant());
        return;
    }
    setReply(request, false, msg);
}

// The multi-argument form of arg() keeps a name like "100%1" from being substituted again.
QString Controller::buildOkMsg(const QString& a, const QString& b, const QString& c)
{
    KELO_ASSERT_THREAD(this);
    if (c.isEmpty())
        return QStringLiteral("%1 (%2)").arg(a, b);
    return QStringLiteral("%1 %2 (%3)").arg(a, b, c);
}

// Unlike buildOkMsg, an empty c leaves no parentheses at all: the reason is not a name.
QString Controller::buildErrMsg(const QString& a, const QString& b, const QString& c)
{
    KELO_ASSERT_THREAD(this);
    if (c.isEmpty())
        return QStringLiteral("%1 %2").arg(a, b);
    return QStringLiteral("%1 %2 (%3)").arg(a, b, c);
}

bool Controller::checkNonemptyString(const QString& value, const QString& field, const QString& what, QString& err)
{
    KELO_ASSERT_THREAD(this);
    if (!value.isEmpty())
        return true;
    err = buildErrMsg(what, KELO_TR("Please provide a non-empty string as field."), field);
    return false;
}

bool Controller::checkNameLength(const QString& name, const QString& what, QString& err)
{
    if (name.size() <= MaxNameChars)
        return true;
    err = buildErrMsg(what, KELO_TR("The name is too long; at most %1 characters.").arg(MaxNameChars),
                      QString::number(name.size()));
    KELO_LOG_ERROR(PlayListsLogger, "Refused a name of " << name.size() << " characters");
    return false;
}

bool Controller::checkPlayList(const PlayListBase* pl, const int& plid, const QString& what, QString& err)
{
    KELO_ASSERT_THREAD(this);
    if (pl)
        return true;
    err = buildErrMsg(what, KELO_TR("There is no playlist with this ID."), QString::number(plid));
    KELO_LOG_ERROR(PlayListsLogger, "There is no playlist with ID : " << plid);
    return false;
}

// Only -1 means "no id"; any other number goes on to the lookup, which catches what does not exist.
bool Controller::checkPlayListId(const int& plid, const QString& what, QString& err)
{
    KELO_ASSERT_THREAD(this);
    if (plid != -1)
        return true;
    err = buildErrMsg(what, KELO_TR("Cannot find playlist with invalid ID."), QString());
    KELO_LOG_ERROR(PlayListsLogger, "Cannot find playlist with invalid ID : " << plid);
    return false;
}

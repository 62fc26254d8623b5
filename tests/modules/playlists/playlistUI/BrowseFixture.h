#pragma once
// The browse-tree tests' ground: the model on a fresh store (pltest::ModelTest), and a worker on
// "playlists:" that records the commands the nodes send instead of carrying them out.
#include <QCoreApplication>
#include <memory>
#include <vector>

#include "CMNode.h"
#include "CMNodes.h"
#include "CMSubscribe.h"
#include "CMWorker.h"
#include "Collection.h"
#include "KeloPaths.h"
#include "PlayListTestSupport.h"
#include "playlistUI/PlayListUI.h"

namespace browsetest {

using pltest::track;

struct Sent
{
    QString path;
    QVariantHash args;
    bool operator==(const Sent& o) const { return path == o.path && args == o.args; }
};

// Answers every set-data request on "playlists:" with answer (or error); with answerLater it keeps
// them unanswered in held, as an asynchronous command does.
class RecordingWorker : public CMAbstractWorker
{
public:
    RecordingWorker() : CMAbstractWorker({}, QStringLiteral("PlayLists")) { CMRoot()->addWorker(this); }
    bool setDataRequest(const CMSetDataRequest& request) override
    {
        sent.push_back({request.path().toEncoded(), request.value().toHash()});
        if (answerLater)
            held.push_back(request);
        else if (!error.isNull())
            request.reply().setError(error);
        else
            request.reply().setValue(answer);
        return true;
    }
    std::vector<Sent> sent;
    QVariant answer = QStringLiteral("command answer");
    CMError error;
    bool answerLater = false;
    std::vector<CMSetDataRequest> held;
};

class BrowseTest : public pltest::ModelTest
{
protected:
    void SetUp() override
    {
        pltest::ModelTest::SetUp();
        recorder = std::make_unique<RecordingWorker>();
    }
    void TearDown() override
    {
        ui.reset();
        owned.clear();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        recorder.reset();
        pltest::ModelTest::TearDown();
    }

    // The whole tree, made and registered as its owner makes it.
    void startTree() { ui = std::make_unique<PlayListUI>(nullptr, &registry, &subscribe, manager.get()); }
    // Nodes read these when they are made.
    void setVisibility(bool playqueue, bool collections)
    {
        root.setInitialValue(KeloPlayListSettingsPlayqueueVisibilityPath(), KeloValue::fromBool(playqueue));
        root.setInitialValue(KeloPlayListSettingsCollectionsVisibilityPath(), KeloValue::fromBool(collections));
    }
    // A node of class Node at path, not registered (several may exist at once).
    template <class Node>
    Node* make(const QString& path)
    {
        Node* node = Node::create(nullptr, CMPath(path), manager.get());
        owned.emplace_back(node);
        return node;
    }
    // A playlist with tracks "<name>-0" ... "<name>-<tracks-1>".
    PlayListBase* playlist(const QString& name, int tracks = 0)
    {
        return playlistWith(name, pltest::names(tracks, name + QStringLiteral("-")));
    }
    static QString uid(const PlayListBase* pl) { return QString::number(pl->getUid()); }
    static QString uid(const CollectionBase* cl) { return QString::number(cl->getUid()); }

    static KeloRowsRoles rows(CMNode* node, const QString& path, int from = 0, int to = 99,
                              const QStringList& roles = {})
    {
        CMGetRowsRequest request{CMPath(path), from, to, roles};
        EXPECT_TRUE(node->getRowsRequest(request));
        return request.reply().value();
    }
    static KeloRoles row(const KeloRowsRoles& reply, int index) { return KeloHash(reply.rows().value(index).toHash()); }
    // One role of every row, as text ("title", "type", "path"); "context" gives the context's path.
    static QStringList column(const KeloRowsRoles& reply, const QString& role)
    {
        QStringList result;
        for (const QVariant& r : reply.rows()) {
            const QVariant value = r.toHash().value(role);
            result.append((role == QLatin1String("context") ? value.toHash().value("path") : value).toString());
        }
        return result;
    }

    std::unique_ptr<RecordingWorker> recorder;
    std::vector<std::unique_ptr<CMNode>> owned;
    CMNodes registry;
    CMSubscribe subscribe;
    std::unique_ptr<PlayListUI> ui;
};

}  // namespace browsetest

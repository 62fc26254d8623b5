#pragma once
// Shared ground of the browse-tree tests: a real database and manager in a temporary directory, a
// root worker for the settings, and a worker on "playlists:" that records every command the nodes
// send instead of carrying it out.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>
#include <memory>
#include <vector>

#include "CMNode.h"
#include "CMNodes.h"
#include "CMRoot.h"
#include "CMWorker.h"
#include "Database.h"
#include "KeloJson.h"
#include "KeloPaths.h"
#include "KeloPlayList.h"
#include "PlayList.h"
#include "PlayListManager.h"

namespace browsetest {

struct SentCommand
{
    QString path;        // encoded
    QVariantHash args;  // the argument record
};

// Takes every set-data request on "playlists:" and answers it with answer, or with error when set.
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
    std::vector<SentCommand> sent;
    QVariant answer = QStringLiteral("command answer");
    CMError error;
    bool answerLater = false;  // keeps the requests in held, unanswered, as an asynchronous command does
    std::vector<CMSetDataRequest> held;
};

inline void ensureApplication()
{
    if (QCoreApplication::instance())
        return;
    static int argc = 1;
    static char name[] = "playlists_tests";
    static char* argv[] = {name, nullptr};
    new QCoreApplication(argc, argv);
}

inline KeloPlayListItem track(const QString& title)
{
    KeloRoles roles;
    roles.setTitle(title);
    roles.setType(KeloRolesType::Audio);
    KeloMediaResource resource;
    resource.setUri(QStringLiteral("http://example.invalid/") + title);
    KeloMediaData mediaData;
    mediaData.setResources({resource});
    mediaData.setMetaData(KeloMetaData());
    roles.setMediaData(mediaData);
    KeloPlayListItem item;
    item.setTitle(title);
    item.setUrl(resource.uri());
    item.setServiceId(QStringLiteral("test"));
    item.setKeloRoles(KeloJson::stringify(roles.toVariant()));
    return item;
}

class BrowseTest : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { ensureApplication(); }

    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        previousDir = QDir::currentPath();
        ASSERT_TRUE(QDir::setCurrent(dir.path()));
        root = std::make_unique<CMRootWorker>();
        recorder = std::make_unique<RecordingWorker>();
        database = std::make_unique<Database>(0, false);
        manager = std::make_unique<PlayListManager>(database.get());
    }

    void TearDown() override
    {
        owned.clear();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        manager.reset();
        database.reset();
        recorder.reset();
        root.reset();
        QDir::setCurrent(previousDir);
    }

    // Nodes read these once, when they are made.
    void setVisibility(bool playqueue, bool collections)
    {
        root->setInitialValue(KeloPlayListSettingsPlayqueueVisibilityPath(), KeloValue::fromBool(playqueue));
        root->setInitialValue(KeloPlayListSettingsCollectionsVisibilityPath(), KeloValue::fromBool(collections));
    }

    // A node that is not registered: several of one class may exist in a test.
    template <class Node>
    Node* make(const CMPath& path)
    {
        Node* node = Node::create(nullptr, path, manager.get());
        owned.emplace_back(node);
        return node;
    }

    PlayListBase* playlist(const QString& name, int tracks = 0)
    {
        PlayListBase* pl = manager->createPlayList(name);
        QList<KeloPlayListItem> items;
        for (int i = 0; i < tracks; ++i)
            items.append(track(name + QStringLiteral("-") + QString::number(i)));
        if (tracks > 0) {
            EXPECT_EQ(pl->addItems(KeloPlayListAddPosition::Append, items), tracks);
        }
        return pl;
    }

    static KeloRowsRoles rows(CMNode* node, const QString& path, int from = 0, int to = 99,
                              const QStringList& roleNames = {})
    {
        CMGetRowsRequest request{CMPath(path), from, to, roleNames};
        EXPECT_TRUE(node->getRowsRequest(request));
        EXPECT_TRUE(request.reply().isFinished());
        return request.reply().value();
    }

    static KeloRoles row(const KeloRowsRoles& reply, int index) { return KeloRoles(KeloHash(reply.rows().value(index).toHash())); }

    static QStringList titles(const KeloRowsRoles& reply)
    {
        QStringList result;
        for (const QVariant& r : reply.rows())
            result.append(KeloRoles(KeloHash(r.toHash())).title());
        return result;
    }

    static QList<int> types(const KeloRowsRoles& reply)
    {
        QList<int> result;
        for (const QVariant& r : reply.rows())
            result.append(KeloRoles(KeloHash(r.toHash())).type());
        return result;
    }

    // The path of the row with this title, encoded; empty when there is none.
    static QString pathOf(const KeloRowsRoles& reply, const QString& title)
    {
        for (const QVariant& r : reply.rows()) {
            const KeloRoles roles(KeloHash(r.toHash()));
            if (roles.title() == title)
                return roles.path().toEncoded();
        }
        return QString();
    }

    // Sends a set-data request to node; *taken is what the node returned.
    static CMVoidReply set(CMNode* node, const QString& path, const QVariant& value, bool* taken = nullptr)
    {
        CMSetDataRequest request{CMPath(path), value};
        const bool result = node->setDataRequest(request);
        if (taken)
            *taken = result;
        return request.reply();
    }

    QString uid(PlayListBase* pl) const { return QString::number(pl->getUid()); }

    QTemporaryDir dir;
    QString previousDir;
    std::unique_ptr<CMRootWorker> root;
    std::unique_ptr<RecordingWorker> recorder;
    std::unique_ptr<Database> database;
    std::unique_ptr<PlayListManager> manager;
    CMNodes registry;
    std::vector<std::unique_ptr<CMNode>> owned;
};

}  // namespace browsetest

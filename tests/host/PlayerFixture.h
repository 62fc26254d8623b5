#pragma once
// The player in this process with a play logic of the test's making, each on a worker thread of its
// own under a root worker: controls sent and the state read as the HTTP API sends and reads them.
#include <QCoreApplication>
#include <QMutex>
#include <functional>
#include <gtest/gtest.h>
#include <memory>

#include "CMRoot.h"
#include "CMWorkerThread.h"
#include "KeloPaths.h"
#include "PlayLogic.h"
#include "player/Player.h"

// A track's roles as a page sends them: its one resource, and logic:pl as the play logic that plays it.
inline QVariantHash trackRoles(const QString& title, const QString& uri, int seconds = 0)
{
    return {{"title", title}, {"duration", seconds},
            {"mediaData", QVariantHash{{"resources", QVariantList{QVariantHash{{"uri", uri}}}},
                                       {"metaData", QVariantHash{{"playLogicPath", "logic:pl"}}}}}};
}

// A play logic at logic: that records every call of the player (readable from any thread) and hands
// it to onCall on the logic's own thread.
class RecordingLogic : public CMAbstractWorker
{
public:
    RecordingLogic() : CMAbstractWorker(QHash<QString, QVariant>(), QStringLiteral("Logic")) {}
    QStringList prefixes() const override { return {QStringLiteral("logic")}; }
    bool setDataRequest(const CMSetDataRequest& request) override
    {
        const QVariantHash value = request.value().toHash();
        const QString name = value.value(PlayLogicWire::Call()).toString();
        {
            QMutexLocker lock(&m_mutex);
            m_calls.append({name, value});
        }
        onCall(name, value);
        request.reply().setValue(QVariant());
        return true;
    }
    QList<QVariantHash> calls(const QString& name) const
    {
        QMutexLocker lock(&m_mutex);
        QList<QVariantHash> out;
        for (const auto& call : m_calls) {
            if (call.first == name)
                out << call.second;
        }
        return out;
    }
    // The titles of the tracks the player reported started, in order.
    QStringList started() const
    {
        QStringList titles;
        for (const QVariantHash& call : calls(PlayLogicWire::MediaPlaybackStarted()))
            titles << call.value(PlayLogicWire::NewRoles()).toHash().value("title").toString();
        return titles;
    }

protected:
    virtual void onCall(const QString& /*name*/, const QVariantHash& /*value*/) {}

private:
    mutable QMutex m_mutex;
    QList<QPair<QString, QVariantHash>> m_calls;
};

class PlayerFixture : public ::testing::Test
{
protected:
    // Bounds of waits for an answer: they end as soon as it came, and are generous so that a slow or
    // loaded machine (or a sanitizer build) does not fail a player that is merely late.
    static constexpr int ReplyWaitMs = 15000;

    void SetUp() override
    {
        if (!QCoreApplication::instance())
            app = std::make_unique<QCoreApplication>(argc, argv);
        root = std::make_unique<CMRootWorker>();
    }
    void TearDown() override
    {
        playerThread.reset();
        logicThread.reset();
        root.reset();
    }
    // Starts the play logic, then the player, each on its own thread; the logic, owned by its thread.
    CMAbstractWorker* startThreads(std::function<CMAbstractWorker*()> makeLogic, std::function<CMAbstractWorker*()> makePlayer)
    {
        logicThread = std::make_unique<CMWorkerThread>(std::move(makeLogic));
        playerThread = std::make_unique<CMWorkerThread>(std::move(makePlayer));
        return logicThread->worker();
    }
    QVariantHash control(const QVariantHash& value, CMError* error = nullptr)
    {
        const CMVoidReply reply;
        root->sendSetData(CMSetDataRequest(KeloPlayerControlPath(), value, reply));
        EXPECT_TRUE(reply.waitForFinished(ReplyWaitMs)) << "the player did not answer";
        if (error)
            *error = reply.error();
        return reply.variant().toHash();
    }
    // Sends the player a play logic command as the logic at from does.
    void command(const QString& name, QVariantHash fields, const QString& from = QStringLiteral("logic:pl"))
    {
        fields.insert(PlayLogicWire::Command(), name);
        fields.insert(PlayLogicWire::From(), from);
        const CMVoidReply reply;
        root->sendSetData(CMSetDataRequest(KeloPlayerPlayLogicPath(), fields, reply));
        EXPECT_TRUE(reply.waitForFinished(ReplyWaitMs)) << "the player did not take the command";
    }
    QVariantHash state()
    {
        const CMReply<QVariant> reply;
        root->sendGetData(CMGetDataRequest(KeloPlayerStatePath(), {}, reply));
        EXPECT_TRUE(reply.waitForFinished(ReplyWaitMs)) << "the player did not answer its state";
        return reply.value().toHash();
    }

    int argc = 1;
    char name[11] = "host_tests";
    char* argv[2] = {name, nullptr};
    std::unique_ptr<QCoreApplication> app;
    std::unique_ptr<CMRootWorker> root;
    std::unique_ptr<CMWorkerThread> logicThread, playerThread;
};

#pragma once
// Shared by the framework tests: a Qt application for the whole binary, a root with its settings in a
// temporary directory, and a worker whose handlers the test chooses.
#include <QCoreApplication>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <functional>
#include <gtest/gtest.h>
#include <memory>

#include "CMRoot.h"
#include "CMWorker.h"
#include "KeloPaths.h"

namespace FrameworkTest {

inline QVariant currentThreadTag()
{
    return QVariant::fromValue(reinterpret_cast<quintptr>(QThread::currentThread()));
}

inline QVariant threadTag(const QThread* thread)
{
    return QVariant::fromValue(reinterpret_cast<quintptr>(thread));
}

// Processes events of the calling thread until the reply is finished.
inline bool waitInLoop(const CMReplyBase& reply)
{
    return QTest::qWaitFor([&]() { return reply.isFinished(); }, 10000);
}

// A worker whose handlers are set by the test; without a handler it refuses the request.
class ProbeWorker : public CMNodesWorker
{
public:
    explicit ProbeWorker(const QString& name) : CMNodesWorker({}, name) {}

    std::function<bool(const CMSetDataRequest&)> onSetData;

    bool setDataRequest(const CMSetDataRequest& request) override
    {
        return onSetData ? onSetData(request) : CMNodesWorker::setDataRequest(request);
    }
};

// Answers with the tag of the thread it ran in.
inline bool answerWithThread(const CMSetDataRequest& request)
{
    request.reply().setValue(currentThreadTag());
    return true;
}

// Defaults as a host hands them to the root: some of the device's settings.
inline CMRootWorker::Settings someDefaults()
{
    KeloValue online;
    online.setPowerTarget(KeloPowerManagerTarget(KeloPowerManagerTarget::Online));
    return {
        {KeloPlayListsSettingsDataBaseItemsLimitPath(), KeloValue::fromI32(10000)},
        {KeloPlayListSettingsDataBaseVacuumPath(), KeloValue::fromBool(false)},
        {KeloPlayListSettingsPlayqueueVisibilityPath(), KeloValue::fromBool(true)},
        {KeloPowerManagerTargetPath(), online},
    };
}

class RootTest : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        restart();
    }
    void restart()
    {
        root.reset();
        root = std::make_unique<CMRootWorker>(settingsFile(), someDefaults());
    }
    QString settingsFile() const { return dir.filePath(QStringLiteral("settings/settings.json")); }

    QTemporaryDir dir;
    std::unique_ptr<CMRootWorker> root;
};

}  // namespace FrameworkTest

// The root's settings tree: defaults, persistence, requests, events and value items.
#include <QFile>
#include <QSignalSpy>
#include <atomic>
#include <csignal>
#include <sys/resource.h>
#include <thread>

#include "CMEventHub.h"
#include "CMValueItem.h"
#include "FrameworkTestSupport.h"
#include "KeloPaths.h"

using namespace FrameworkTest;

namespace {
class FrameworkSettings : public RootTest
{
protected:
    void writeSettingsFile(const QByteArray& text)
    {
        root.reset();
        QDir().mkpath(QFileInfo(settingsFile()).absolutePath());
        QFile file(settingsFile());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
        file.close();
        restart();
    }

    CMVoidReply set(const CMPath& path, const QVariant& value)
    {
        const CMVoidReply reply;
        root->sendSetData(CMSetDataRequest(path, value, reply));
        return reply;
    }
};
}  // namespace

TEST_F(FrameworkSettings, ASetValueSurvivesARestartOfTheRoot)
{
    EXPECT_EQ(root->value(KeloPlayListsSettingsDataBaseItemsLimitPath()).i32_(), 10000);
    const CMVoidReply reply;
    root->setValue(KeloPlayListsSettingsDataBaseItemsLimitPath(), KeloValue::fromI32(500), reply);
    ASSERT_TRUE(reply.isFinished());
    EXPECT_EQ(KeloValue(KeloHash(reply.variant().toHash())).i32_(), 500);

    restart();
    EXPECT_EQ(root->value(KeloPlayListsSettingsDataBaseItemsLimitPath()).i32_(), 500);
    EXPECT_TRUE(root->value(KeloPlayListSettingsPlayqueueVisibilityPath()).bool_());
}

TEST_F(FrameworkSettings, AMalformedFileKeepsTheDefaultsAndIsReplacedByTheNextChange)
{
    writeSettingsFile("{ not json");
    EXPECT_EQ(root->value(KeloPlayListsSettingsDataBaseItemsLimitPath()).i32_(), 10000);

    ASSERT_FALSE(set(KeloPlayListSettingsDataBaseVacuumPath(), KeloValue::fromBool(true).toVariant()).hasError());
    restart();
    EXPECT_TRUE(root->value(KeloPlayListSettingsDataBaseVacuumPath()).bool_());
}

namespace {
// Files written while it lives cannot grow past a few bytes, as on a full disk: the write fails with
// EFBIG instead of ending the process.
class TinyFileSizeLimit
{
public:
    TinyFileSizeLimit()
    {
        m_oldHandler = std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_old);
        rlimit tiny = m_old;
        tiny.rlim_cur = 16;
        setrlimit(RLIMIT_FSIZE, &tiny);
    }
    ~TinyFileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &m_old);
        std::signal(SIGXFSZ, m_oldHandler);
    }

private:
    rlimit m_old{};
    void (*m_oldHandler)(int) = nullptr;
};
}  // namespace

TEST_F(FrameworkSettings, AFileThatCannotBeWrittenAnswersAnErrorAndKeepsMemoryAndTheFileAsTheyWere)
{
    ASSERT_FALSE(set(KeloPlayListsSettingsDataBaseItemsLimitPath(), KeloValue::fromI32(500).toVariant()).hasError());
    QFile file(settingsFile());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray before = file.readAll();
    file.close();
    QSignalSpy changed(root.get(), &CMRootWorker::valueChanged);

    CMVoidReply existing;
    CMVoidReply added;
    {
        TinyFileSizeLimit fullDisk;
        existing = set(KeloPlayListsSettingsDataBaseItemsLimitPath(), KeloValue::fromI32(7).toVariant());
        added = set(CMPath("settings:new/one"), KeloValue::fromString(QStringLiteral("Mix")).toVariant());
    }
    ASSERT_TRUE(existing.isFinished());
    ASSERT_TRUE(existing.hasError());
    EXPECT_EQ(existing.error().Name(), CMError::DefaultName());
    EXPECT_TRUE(existing.error().Message().contains(QStringLiteral("dbItemsLimit")));
    EXPECT_TRUE(added.hasError());
    EXPECT_EQ(changed.count(), 0);
    EXPECT_EQ(root->value(KeloPlayListsSettingsDataBaseItemsLimitPath()).i32_(), 500);
    EXPECT_FALSE(root->getValue(CMPath("settings:new/one")).isValid());

    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), before);
    EXPECT_FALSE(QFile::exists(settingsFile() + QStringLiteral(".tmp")));
    restart();
    EXPECT_EQ(root->value(KeloPlayListsSettingsDataBaseItemsLimitPath()).i32_(), 500);
}

TEST_F(FrameworkSettings, SetDataTakesOnlyWellFormedValuesOfTheStoredType)
{
    EXPECT_FALSE(set(CMPath("settings:playlists/dbItemsLimit"), KeloValue::fromI32(3).toVariant()).hasError());
    EXPECT_EQ(set(CMPath("settings:playlists/dbItemsLimit"), 4).error().Name(), CMError::BadRequestName());
    EXPECT_EQ(set(CMPath("settings:playlists/dbItemsLimit"), KeloValue::fromBool(true).toVariant()).error().Name(),
              CMError::BadRequestName());
    EXPECT_EQ(root->value(KeloPlayListsSettingsDataBaseItemsLimitPath()).i32_(), 3);

    EXPECT_FALSE(set(CMPath("settings:new/one"), KeloValue::fromString(QStringLiteral("Mix")).toVariant()).hasError());
    EXPECT_EQ(root->value(CMPath("settings:new/one")).string_(), QStringLiteral("Mix"));
}

TEST_F(FrameworkSettings, GetDataAnswersTheValueOrNotFound)
{
    const CMReply<QVariant> known;
    root->sendGetData(CMGetDataRequest(KeloPowerManagerTargetPath(), {}, known));
    EXPECT_EQ(KeloValue(KeloHash(known.value().toHash())).powerTarget().target(), 1);

    const CMReply<QVariant> unknown;
    root->sendGetData(CMGetDataRequest(CMPath("settings:nothing"), {}, unknown));
    EXPECT_EQ(unknown.error().Name(), CMError::NotFoundName());
}

TEST_F(FrameworkSettings, AChangeIsPublishedAsAValueEvent)
{
    const auto subscriber = CMEventHub::instance().subscribe();
    set(KeloPlayListSettingsDataBaseVacuumPath(), KeloValue::fromBool(true).toVariant());

    QVariantHash event;
    ASSERT_EQ(subscriber->next(&event, 0), CMEventSubscriber::Event);
    EXPECT_EQ(event, QVariantHash({{QStringLiteral("path"), QStringLiteral("settings:playlists/dbVacuum")},
                                   {QStringLiteral("change"), QStringLiteral("value")},
                                   {QStringLiteral("value"), KeloValue::fromBool(true).toVariant()}}));
}

TEST_F(FrameworkSettings, AValueItemHearsOnlyItsPathWithNewAndOldValue)
{
    CMValueItem item(nullptr, CMPath("powermanager:target"));
    QSignalSpy changed(&item, &CMValueItem::changed);
    KeloValue standby;
    standby.setPowerTarget(KeloPowerManagerTarget(KeloPowerManagerTarget::NetworkStandby));

    set(KeloPlayListSettingsDataBaseVacuumPath(), KeloValue::fromBool(true).toVariant());
    set(KeloPowerManagerTargetPath(), standby.toVariant());

    ASSERT_EQ(changed.count(), 1);
    EXPECT_EQ(changed.at(0).at(0).value<KeloValue>().powerTarget().target(), 2);
    EXPECT_EQ(changed.at(0).at(1).value<KeloValue>().powerTarget().target(), 1);
    EXPECT_EQ(item.value().powerTarget().target(), 2);
}

TEST_F(FrameworkSettings, AValueItemInAnotherThreadIsToldInItsThread)
{
    QThread thread;
    QObject context;
    context.moveToThread(&thread);
    thread.start();
    CMValueItem* item = nullptr;
    std::atomic<QThread*> toldIn{nullptr};
    QMetaObject::invokeMethod(&context, [&]() {
        item = new CMValueItem(nullptr, KeloPlayListSettingsDataBaseVacuumPath());
        QObject::connect(item, &CMValueItem::changed, item, [&]() { toldIn = QThread::currentThread(); });
    }, Qt::BlockingQueuedConnection);

    set(KeloPlayListSettingsDataBaseVacuumPath(), KeloValue::fromBool(true).toVariant());
    ASSERT_TRUE(QTest::qWaitFor([&]() { return toldIn.load() != nullptr; }));
    EXPECT_EQ(toldIn.load(), &thread);

    QMetaObject::invokeMethod(&context, [&]() { delete item; }, Qt::BlockingQueuedConnection);
    thread.quit();
    thread.wait();
}

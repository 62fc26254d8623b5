// The root's settings tree: defaults, persistence, requests, events and value items.
#include <QFile>
#include <QSignalSpy>
#include <atomic>
#include <csignal>
#include <sys/resource.h>

#include "CMEventHub.h"
#include "CMValueItem.h"
#include "FrameworkTestSupport.h"

using namespace FrameworkTest;
using FrameworkSettings = RootTest;

namespace {
QByteArray contents(const QString& name)
{
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Files written while it lives cannot grow past a few bytes, as on a full disk: the write fails with
// EFBIG instead of ending the process.
class TinyFileSizeLimit
{
public:
    TinyFileSizeLimit() : m_oldHandler(std::signal(SIGXFSZ, SIG_IGN))
    {
        getrlimit(RLIMIT_FSIZE, &m_old);
        const rlimit tiny{16, m_old.rlim_max};
        setrlimit(RLIMIT_FSIZE, &tiny);
    }
    ~TinyFileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &m_old);
        std::signal(SIGXFSZ, m_oldHandler);
    }

private:
    void (*m_oldHandler)(int);
    rlimit m_old{};
};
}  // namespace

TEST_F(FrameworkSettings, ASetValueSurvivesARestartAndAMalformedFileKeepsTheDefaultsUntilTheNextChange)
{
    EXPECT_EQ(root->value(KeloPlayListsSettingsDataBaseItemsLimitPath()).i32_(), 10000);
    const CMVoidReply reply;
    root->setValue(KeloPlayListsSettingsDataBaseItemsLimitPath(), KeloValue::fromI32(500), reply);
    ASSERT_TRUE(reply.isFinished());
    EXPECT_EQ(KeloValue(KeloHash(reply.variant().toHash())).i32_(), 500);
    restart();
    EXPECT_EQ(root->value(KeloPlayListsSettingsDataBaseItemsLimitPath()).i32_(), 500);
    EXPECT_TRUE(root->value(KeloPlayListSettingsPlayqueueVisibilityPath()).bool_());

    root.reset();
    QFile file(settingsFile());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write("{ not json") > 0);
    file.close();
    restart();
    EXPECT_EQ(root->value(KeloPlayListsSettingsDataBaseItemsLimitPath()).i32_(), 10000);
    ASSERT_FALSE(set(KeloPlayListSettingsDataBaseVacuumPath(), KeloValue::fromBool(true).toVariant()).hasError());
    restart();
    EXPECT_TRUE(root->value(KeloPlayListSettingsDataBaseVacuumPath()).bool_());
}

TEST_F(FrameworkSettings, AFileThatCannotBeWrittenAnswersAnErrorAndKeepsMemoryAndTheFileAsTheyWere)
{
    ASSERT_FALSE(set(KeloPlayListsSettingsDataBaseItemsLimitPath(), KeloValue::fromI32(500).toVariant()).hasError());
    const QByteArray before = contents(settingsFile());
    QSignalSpy changed(root.get(), &CMRootWorker::valueChanged);
    CMVoidReply existing, added;
    {
        TinyFileSizeLimit fullDisk;
        existing = set(KeloPlayListsSettingsDataBaseItemsLimitPath(), KeloValue::fromI32(7).toVariant());
        added = set(CMPath("settings:new/one"), KeloValue::fromString(QStringLiteral("Mix")).toVariant());
    }
    ASSERT_TRUE(existing.isFinished());
    EXPECT_EQ(existing.error().Name(), CMError::DefaultName());
    EXPECT_TRUE(existing.error().Message().contains(QStringLiteral("dbItemsLimit")));
    EXPECT_TRUE(added.hasError());
    EXPECT_EQ(changed.count(), 0);
    EXPECT_EQ(root->value(KeloPlayListsSettingsDataBaseItemsLimitPath()).i32_(), 500);
    EXPECT_FALSE(root->getValue(CMPath("settings:new/one")).isValid());

    EXPECT_EQ(contents(settingsFile()), before);
    EXPECT_FALSE(QFile::exists(settingsFile() + QStringLiteral(".tmp")));
    restart();
    EXPECT_EQ(root->value(KeloPlayListsSettingsDataBaseItemsLimitPath()).i32_(), 500);
}

TEST_F(FrameworkSettings, RequestsSetOnlyWellFormedValuesOfTheStoredTypeAndGetTheValueOrNotFound)
{
    const CMPath limit("settings:playlists/dbItemsLimit");
    EXPECT_FALSE(set(limit, KeloValue::fromI32(3).toVariant()).hasError());
    EXPECT_EQ(set(limit, 4).error().Name(), CMError::BadRequestName());
    EXPECT_EQ(set(limit, KeloValue::fromBool(true).toVariant()).error().Name(), CMError::BadRequestName());
    EXPECT_FALSE(set(CMPath("settings:new/one"), KeloValue::fromString(QStringLiteral("Mix")).toVariant()).hasError());

    const CMReply<QVariant> known, added, unknown;
    root->sendGetData(CMGetDataRequest(limit, {}, known));
    root->sendGetData(CMGetDataRequest(CMPath("settings:new/one"), {}, added));
    root->sendGetData(CMGetDataRequest(CMPath("settings:nothing"), {}, unknown));
    EXPECT_EQ(KeloValue(KeloHash(known.value().toHash())).i32_(), 3);
    EXPECT_EQ(KeloValue(KeloHash(added.value().toHash())).string_(), QStringLiteral("Mix"));
    EXPECT_EQ(unknown.error().Name(), CMError::NotFoundName());
}

TEST_F(FrameworkSettings, AChangeIsPublishedAsAValueEventAndAValueItemHearsOnlyItsPath)
{
    const auto subscriber = CMEventHub::instance().subscribe();
    CMValueItem item(nullptr, KeloPowerManagerTargetPath());
    QSignalSpy changed(&item, &CMValueItem::changed);
    KeloValue standby;
    standby.setPowerTarget(KeloPowerManagerTarget(KeloPowerManagerTarget::NetworkStandby));

    set(KeloPlayListSettingsDataBaseVacuumPath(), KeloValue::fromBool(true).toVariant());
    set(KeloPowerManagerTargetPath(), standby.toVariant());

    QVariantHash event;
    ASSERT_EQ(subscriber->next(&event, 0), CMEventSubscriber::Event);
    EXPECT_EQ(event, QVariantHash({{QStringLiteral("path"), QStringLiteral("settings:playlists/dbVacuum")},
                                   {QStringLiteral("change"), QStringLiteral("value")},
                                   {QStringLiteral("value"), KeloValue::fromBool(true).toVariant()}}));
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
